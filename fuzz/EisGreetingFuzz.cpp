#include "platform/linux/wayland/portal/EisGreeting.h"

#include <cstdint>
#include <cstdlib>

/// The first bytes of a server of input events. More bytes never turn a decision around.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using namespace zelvo;
    auto const bytes = std::as_bytes(std::span(data, size));
    EisGreeting const whole = eisGreetingIn(bytes);
    EisGreeting const half = eisGreetingIn(bytes.first(size / 2));
    if (half != EisGreeting::ongoing && half != whole)
        std::abort();
    return 0;
}
