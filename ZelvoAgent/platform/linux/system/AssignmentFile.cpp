#include "platform/linux/system/AssignmentFile.h"

#include "base/Blanks.h"
#include "platform/portable/files/Files.h"

namespace zelvo {

namespace {

constexpr std::size_t maxFile = 64u << 10;

/// The value of a quoted or plain word, as a shell reads it.
std::optional<std::string> unquoted(std::string_view word)
{
    std::string value;
    char quote = 0;
    for (std::size_t at = 0; at < word.size(); ++at) {
        char const c = word[at];
        if (c == '\\' && quote != '\'' && at + 1 < word.size())
            value += word[++at];
        else if (quote && c == quote)
            quote = 0;
        else if (!quote && (c == '"' || c == '\''))
            quote = c;
        else
            value += c;
    }
    if (quote)
        return std::nullopt;
    return value;
}

} // namespace

std::optional<std::string> assignedValue(std::string_view text, std::string_view name)
{
    std::optional<std::string> value;
    while (!text.empty()) {
        std::string_view const line = text::withoutBlanks(text.substr(0, text.find('\n')));
        text.remove_prefix(std::min(text.find('\n'), text.size() - 1) + 1);
        if (line.starts_with(name) && line.substr(name.size()).starts_with('='))
            value = unquoted(line.substr(name.size() + 1));
    }
    return value;
}

std::optional<std::string> assignedValueIn(std::filesystem::path const& file, std::string_view name)
{
    auto const read = files::read(file, maxFile);
    return read ? assignedValue(read->content, name) : std::nullopt;
}

} // namespace zelvo
