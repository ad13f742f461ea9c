#include "ZelvoGateway/console/PageTexts.h"

#include "base/LocalizedTexts.h"
#include "base/Text.h"

#include <algorithm>
#include <charconv>
#include <vector>

namespace zelvo::service {

namespace {

constexpr std::string_view opening = "{{";
constexpr std::string_view closing = "}}";

std::string_view trimmed(std::string_view text)
{
    while (text.starts_with(' '))
        text.remove_prefix(1);
    while (text.ends_with(' '))
        text.remove_suffix(1);
    return text;
}

/// The part before the first separator, which is taken off together with it.
std::string_view takePart(std::string_view& text, char separator)
{
    std::size_t const end = std::min(text.find(separator), text.size());
    std::string_view const part = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return trimmed(part);
}

/// How much a language is wanted, 0 to 1: the q of "ru;q=0.8".
double weightOf(std::string_view parameters)
{
    double weight = 1;
    if (parameters.starts_with("q="))
        std::from_chars(parameters.data() + 2, parameters.data() + parameters.size(), weight);
    return weight;
}

std::string replaced(std::string text, std::string_view what, std::string_view by)
{
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size()))
        text.replace(at, what.size(), by);
    return text;
}

} // namespace

std::string preferredLanguage(std::string_view acceptLanguage)
{
    auto const known = texts::languages();
    std::string best = "en";
    double bestWeight = 0;
    while (!acceptLanguage.empty()) {
        std::string_view range = takePart(acceptLanguage, ',');
        std::string_view tag = takePart(range, ';');
        std::string const language = text::lowercased(std::string(takePart(tag, '-')));
        double const weight = weightOf(trimmed(range));
        if (weight > bestWeight && std::ranges::find(known, language) != known.end()) {
            best = language;
            bestWeight = weight;
        }
    }
    return best;
}

std::string htmlText(std::string_view text)
{
    std::string html;
    for (char const sign : text) {
        switch (sign) {
        case '&':
            html += "&amp;";
            break;
        case '<':
            html += "&lt;";
            break;
        case '>':
            html += "&gt;";
            break;
        case '"':
            html += "&quot;";
            break;
        case '\'':
            html += "&#39;";
            break;
        default:
            html += sign;
        }
    }
    return html;
}

std::string filledPage(std::string_view page,
                       std::string_view language,
                       std::string_view argument,
                       std::map<std::string, std::string, std::less<>> const& parts)
{
    std::string filled;
    while (!page.empty()) {
        std::size_t const begin = page.find(opening);
        std::size_t const end = begin == std::string_view::npos ? begin : page.find(closing, begin);
        if (end == std::string_view::npos)
            return filled.append(page);
        std::string_view const name = page.substr(begin + opening.size(), end - begin - opening.size());
        filled.append(page.substr(0, begin));
        if (auto const part = parts.find(name); part != parts.end())
            filled += part->second;
        else
            filled += replaced(htmlText(texts::pattern(language, name)), "{0}", htmlText(argument));
        page.remove_prefix(end + closing.size());
    }
    return filled;
}

} // namespace zelvo::service
