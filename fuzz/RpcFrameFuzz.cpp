#include "base/Text.h"
#include "wire/LongText.h"
#include "wire/RpcFrame.h"

#include <cstdint>
#include <cstdlib>

namespace {

/// A text that stays in the document is the one that would have been copied.
void readAround(std::string_view text)
{
    zelvo::LongText content{.outer = "params", .inner = "data", .minBytes = 1};
    auto around = zelvo::parseJsonAround(text, content);
    auto const whole = zelvo::parseJson(text);
    if (around.has_value() != whole.has_value())
        std::abort();
    if (!around)
        return;
    if (auto* const object = around->if_object())
        if (auto* const params = object->if_contains("params"); params && params->is_object())
            if (auto* const data = params->get_object().if_contains("data"); data && data->is_uint64())
                data->emplace_string() = text.substr(content.offset, content.bytes);
    if (*around != *whole)
        std::abort();
}

} // namespace

/// Accepted input can be written and reads back equal; invalid UTF-8 is never accepted.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string_view const text(reinterpret_cast<char const*>(data), size);
    readAround(text);
    auto const frame = zelvo::parseFrame(text);
    if (zelvo::takeFrame(std::string(text)) != frame)
        std::abort(); // No input here is long enough for a difference.
    if (!frame)
        return 0;
    if (!zelvo::text::isUtf8(text))
        std::abort();
    auto const again = zelvo::parseFrame(zelvo::writeFrame(*frame));
    if (!again || *again != *frame)
        std::abort();
    return 0;
}
