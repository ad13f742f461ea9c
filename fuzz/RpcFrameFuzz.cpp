#include "base/Text.h"
#include "wire/RpcFrame.h"

#include <cstdint>
#include <cstdlib>

/// Accepted input can be written and reads back equal; invalid UTF-8 is never accepted.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string_view const text(reinterpret_cast<char const*>(data), size);
    auto const frame = zelvo::parseFrame(text);
    if (!frame)
        return 0;
    if (!zelvo::text::isUtf8(text))
        std::abort();
    auto const again = zelvo::parseFrame(zelvo::writeFrame(*frame));
    if (!again || *again != *frame)
        std::abort();
    return 0;
}
