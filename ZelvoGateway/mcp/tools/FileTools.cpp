#include "ZelvoGateway/mcp/tools/PictureFile.h"
#include "ZelvoGateway/mcp/tools/ToolText.h"
#include "ZelvoGateway/mcp/tools/Tools.h"
#include "base/Base64.h"
#include "base/Hop.h"
#include "base/Text.h"

#include <array>
#include <cstring>
#include <utility>

namespace zelvo::service {

namespace {

constexpr std::size_t pageCost = 40'000;
constexpr std::size_t maxPicture = 1'400'000; // bytes of base64

/// What a file is shown as.
struct FilePage {
    std::optional<PictureFile> picture;
    bool isText = false;
    std::size_t size = 0;  ///< of the file, in bytes
    std::size_t total = 0; ///< characters of a text
    std::size_t start = 0;
    std::size_t end = 0;
    std::string text;
};

bool startsCodePoint(char c)
{
    return (static_cast<unsigned char>(c) & 0xc0U) != 0x80;
}

/// Where the code point of this number begins.
std::size_t offsetOf(std::string_view text, std::size_t codePoint)
{
    std::size_t at = 0;
    for (; at < text.size(); ++at)
        if (startsCodePoint(text[at]) && codePoint-- == 0)
            break;
    return at;
}

std::size_t codePointsIn(std::string_view text)
{
    std::size_t count = 0;
    for (char const c : text)
        count += startsCodePoint(c) ? 1 : 0;
    return count;
}

FilePage pageOf(std::string_view bytes, std::size_t offset)
{
    FilePage page{.picture = pictureFile(bytes), .size = bytes.size()};
    if (page.picture || bytes.find('\0') != std::string_view::npos || !text::isUtf8(bytes))
        return page;
    page.isText = true;
    page.total = codePointsIn(bytes);
    page.start = std::min(offset, page.total);
    std::string_view const rest = bytes.substr(offsetOf(bytes, page.start));
    std::string_view const shown = tooltext::prefixOfCost(rest, pageCost);
    page.end = page.start + codePointsIn(shown);
    page.text = tooltext::plainLines(shown);
    return page;
}

McpToolResult textResult(FilePage page)
{
    tooltext::Answer answer;
    std::string heading = std::to_string(page.size) + " bytes · ";
    if (page.start == 0 && page.end == page.total)
        heading += "whole text";
    else
        heading += "characters " + std::to_string(page.start) + " to " + std::to_string(page.end) + " of " +
                   std::to_string(page.total);
    if (page.end < page.total)
        heading += "; go on with offset " + std::to_string(page.end);
    answer.first(std::move(heading));
    answer.add(std::move(page.text));
    answer.holdsData();
    return {.content = {{.text = answer.text()}}};
}

McpToolResult pictureResult(FilePage const& page, std::string data)
{
    tooltext::Answer answer;
    answer.first("A picture of " + std::to_string(page.size) + " bytes:");
    answer.holdsData();
    return {
        .content = {{.text = answer.text()}, {.text = std::move(data), .mimeType = page.picture->mimeType}}};
}

ToolFailure refused(std::string what, std::string next)
{
    return {.code = ErrorCode::invalidRequest, .what = std::move(what), .next = std::move(next)};
}

void assertFits(PictureFile const& picture, PictureLimits limits)
{
    if (!picture.pixels)
        throw refused("The picture's size cannot be read", "open it with app_open and look at the screen");
    if (fits(*picture.pixels, limits))
        return;
    DisplaySize allowed = wholeDisplay(*picture.pixels, limits).shownSize();
    allowed.height = std::min(allowed.height, limits.maxEdge);
    throw refused("The picture is too large to be shown; it has " + sizeText(*picture.pixels) + " pixels",
                  "make a copy of at most " + sizeText(allowed) +
                      " pixels with shell_run and read that, or open it with app_open and look at the "
                      "screen");
}

} // namespace

Task<McpToolResult> fileRead(MachineCallPtr call, json::object arguments)
{
    auto const offset = static_cast<std::size_t>(read::integer(arguments, "offset").value_or(0));
    json::object params;
    params.emplace("path", arguments.at("path"));
    CommandResult result = co_await call->run("files.download", std::move(params));
    json::object* const file = result.value.if_object();
    json::value* const data = file ? file->if_contains("data") : nullptr;
    if (!data || !data->is_string())
        throw ToolFailure{.code = ErrorCode::internalError, .what = "The machine's answer makes no sense"};
    std::string_view const encoded = data->get_string();
    auto const readPage = [encoded, offset]() -> std::optional<FilePage> {
        auto const bytes = base64::decode(encoded);
        return bytes ? std::optional(pageOf(*bytes, offset)) : std::nullopt;
    };
    std::optional<FilePage> page = co_await on(call->workers(), readPage);
    if (!page)
        throw ToolFailure{.code = ErrorCode::internalError, .what = "The machine's answer makes no sense"};
    if (page->isText)
        co_return textResult(*std::move(page));
    std::string const size = std::to_string(page->size);
    if (!page->picture)
        throw refused("The file is neither a text nor a picture; it has " + size + " bytes",
                      "read it with shell_run if you may, or leave it");
    if (encoded.size() > maxPicture)
        throw refused("The picture is too large to be shown; it has " + size + " bytes",
                      "open it with app_open and look at the screen");
    assertFits(*page->picture, call->pictures());
    co_return pictureResult(*page, std::string(encoded));
}

Task<McpToolResult> fileWrite(MachineCallPtr call, json::object arguments)
{
    json::value* const text = arguments.if_contains("text");
    json::value* const encoded = arguments.if_contains("base64");
    if ((text != nullptr) == (encoded != nullptr))
        throw refused(R"(Give either "text" or "base64")", "correct the arguments and call again");
    json::object params;
    params.emplace("path", arguments.at("path"));
    if (text) {
        std::string_view const content = text->get_string();
        auto const encode = [content] {
            auto const* const bytes = reinterpret_cast<unsigned char const*>(content.data());
            return base64::encode({bytes, content.size()});
        };
        params.emplace("data", co_await on(call->workers(), encode));
    } else {
        params.emplace("data", std::move(*encoded));
    }
    CommandResult const result = co_await call->runOnce("files.upload.begin", std::move(params));
    json::object const* const written = result.value.if_object();
    std::int64_t const size = written ? read::integer(*written, "sizeBytes").value_or(0) : 0;
    co_return McpToolResult{.content = {{.text = "ok · wrote " + std::to_string(size) + " bytes"}}};
}

} // namespace zelvo::service
