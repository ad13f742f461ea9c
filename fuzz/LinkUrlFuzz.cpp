#include "app/LinkUrl.h"
#include "base/Text.h"

#include <cstdint>
#include <cstdlib>

namespace {

/// Every byte as a percent sign and two digits.
std::string escaped(std::string const& token)
{
    constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    for (char const c : token) {
        auto const byte = static_cast<unsigned char>(c);
        text += {'%', digits[byte >> 4U], digits[byte & 15U]};
    }
    return text;
}

} // namespace

/// A token is UTF-8, and a link made with it yields it again.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    auto const token = zelvo::linkTokenOf({reinterpret_cast<char const*>(data), size});
    if (!token)
        return 0;
    if (!zelvo::text::isUtf8(*token))
        std::abort();
    if (zelvo::linkTokenOf("zelvo://link?token=" + escaped(*token)) != token)
        std::abort();
    return 0;
}
