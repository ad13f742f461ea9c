#include "base/LocalizedTexts.h"

#include "base/EmbeddedFile.h"
#include "base/LockedBox.h"

#include <boost/json/parse.hpp>
#include <unicode/locid.h>
#include <unicode/msgfmt.h>

#include <cstdlib>
#include <map>

namespace zelvo {

extern EmbeddedFile const embedded_en_json;
extern EmbeddedFile const embedded_ru_json;

namespace {

using Table = std::map<std::string, std::string, std::less<>>;

Table tableOf(EmbeddedFile const& file)
{
    Table table;
    boost::json::value const parsed = boost::json::parse(file.text());
    for (auto const& [key, pattern] : parsed.as_object())
        table.emplace(key, std::string(pattern.as_string()));
    return table;
}

std::map<std::string, Table, std::less<>> const& tables()
{
    static std::map<std::string, Table, std::less<>> const all = {{"en", tableOf(embedded_en_json)},
                                                                  {"ru", tableOf(embedded_ru_json)}};
    return all;
}

std::string supported(std::string_view language)
{
    return tables().contains(language) ? std::string(language) : "en";
}

/// The first language of a list like "de:ru_RU.UTF-8" that has texts; "en" if none has.
std::string firstSupported(std::string_view list)
{
    while (!list.empty()) {
        std::string_view const wanted = list.substr(0, list.find(':'));
        std::string_view const language = wanted.substr(0, wanted.find_first_of("_.@"));
        if (tables().contains(language))
            return std::string(language);
        list.remove_prefix(std::min(wanted.size() + 1, list.size()));
    }
    return "en";
}

LockedBox<std::string>& current()
{
    static LockedBox<std::string> language(texts::languageOfEnvironment());
    return language;
}

std::string const* find(std::string_view language, std::string_view key)
{
    Table const& table = tables().find(language)->second;
    auto const entry = table.find(key);
    return entry == table.end() ? nullptr : &entry->second;
}

icu::UnicodeString unicode(std::string_view text)
{
    return icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
}

icu::Formattable formattable(TextArgument const& argument)
{
    if (auto const* const number = std::get_if<std::int64_t>(&argument))
        return icu::Formattable(*number);
    return icu::Formattable(unicode(std::get<std::string>(argument)));
}

} // namespace

std::string localized(std::string_view key)
{
    return localized(key, {});
}

std::string localized(std::string_view key, std::initializer_list<TextArgument> arguments)
{
    std::string const language = current().get();
    std::string const* const pattern = find(language, key);
    if (!pattern)
        return std::string(key);
    UErrorCode status = U_ZERO_ERROR;
    icu::MessageFormat const format(unicode(*pattern), icu::Locale(language.c_str()), status);
    std::vector<icu::Formattable> values;
    for (TextArgument const& argument : arguments)
        values.push_back(formattable(argument));
    icu::UnicodeString filled;
    icu::FieldPosition position;
    format.format(values.data(), static_cast<int32_t>(values.size()), filled, position, status);
    if (U_FAILURE(status))
        return std::string(key);
    std::string text;
    filled.toUTF8String(text);
    return text;
}

namespace texts {

std::vector<std::string> languages()
{
    std::vector<std::string> all;
    for (auto const& [language, table] : tables())
        all.push_back(language);
    return all;
}

void useLanguage(std::string_view language)
{
    current().set(supported(language));
}

std::string languageOfEnvironment()
{
    for (char const* const name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}) {
        char const* const value = std::getenv(name);
        if (!value || !*value)
            continue;
        return firstSupported(value);
    }
    return "en";
}

std::vector<std::string> keys(std::string_view language)
{
    std::vector<std::string> all;
    for (auto const& [key, pattern] : tables().find(language)->second)
        all.push_back(key);
    return all;
}

std::string pattern(std::string_view language, std::string_view key)
{
    std::string const* const found = find(language, key);
    return found ? *found : std::string();
}

} // namespace texts

} // namespace zelvo
