#include "platform/portable/updates/UpdateFeed.h"

#include "base/LocalizedTexts.h"
#include "base/Text.h"
#include "platform/portable/updates/UpdateFailures.h"

#include <boost/json/parse.hpp>
#include <boost/url/parse.hpp>
#include <boost/url/url_view.hpp>

#include <sys/utsname.h>

#include <algorithm>
#include <cctype>

namespace zelvo {

namespace {

namespace json = boost::json;

constexpr std::int64_t knownFormat = 1;
constexpr std::string_view ownProgram = "dev.zelvo.agent";
constexpr std::size_t maxVersionLength = 32;
constexpr std::size_t maxNotesLength = 4000;
constexpr std::size_t maxAddressLength = 2000;

json::object parsed(std::string_view text)
{
    boost::system::error_code error;
    json::value value = json::parse(text, error);
    if (error || !value.is_object())
        throw updateFailure("update.error.feed");
    return std::move(value.as_object());
}

std::string_view textIn(json::object const& object, std::string_view key)
{
    json::value const* const value = object.if_contains(key);
    if (!value || !value->is_string())
        throw updateFailure("update.error.feed");
    return value->get_string();
}

std::int64_t numberIn(json::object const& object, std::string_view key)
{
    json::value const* const value = object.if_contains(key);
    if (!value || !value->is_int64())
        throw updateFailure("update.error.feed");
    return value->get_int64();
}

bool isVersion(std::string_view text)
{
    constexpr std::string_view characters = "0123456789.";
    return !text.empty() && text.size() <= maxVersionLength &&
           text.find_first_not_of(characters) == std::string_view::npos && text.front() != '.' &&
           text.back() != '.' && text.find("..") == std::string_view::npos &&
           std::ranges::count(text, '.') <= 3;
}

/// In the person's language, else in English.
std::string notesIn(json::object const& feed, std::string_view language)
{
    json::value const* const notes = feed.if_contains("notes");
    if (!notes || !notes->is_object())
        return {};
    for (std::string_view const one : {language, std::string_view("en")})
        if (json::value const* const found = notes->get_object().if_contains(one);
            found && found->is_string())
            return text::prefix(found->get_string(), maxNotesLength);
    return {};
}

UpdateArchive archiveOf(json::object const& entry)
{
    UpdateArchive archive{.address = std::string(textIn(entry, "address")),
                          .bytes = numberIn(entry, "length"),
                          .signature = std::string(textIn(entry, "signature"))};
    auto const url = boost::urls::parse_uri(archive.address);
    if (!url || url->scheme() != "https" || url->encoded_host().empty() || url->has_userinfo() ||
        archive.address.size() > maxAddressLength)
        throw updateFailure("update.error.address");
    if (archive.bytes <= 0 || archive.bytes > maxArchiveBytes)
        throw updateFailure("update.error.feed");
    return archive;
}

UpdateArchive archiveFor(json::object const& feed, UpdateTarget const& target)
{
    json::value const* const archives = feed.if_contains("archives");
    if (!archives || !archives->is_array())
        throw updateFailure("update.error.feed");
    for (json::value const& entry : archives->get_array()) {
        if (!entry.is_object())
            throw updateFailure("update.error.feed");
        json::object const& one = entry.get_object();
        if (textIn(one, "system") == target.system && textIn(one, "architecture") == target.architecture)
            return archiveOf(one);
    }
    throw updateFailure("update.error.system");
}

} // namespace

UpdateTarget UpdateTarget::ofThisBuild()
{
    struct utsname names{};
    ::uname(&names);
    std::string system = names.sysname;
    std::ranges::transform(system, system.begin(), [](unsigned char c) { return std::tolower(c); });
    return {.system = std::move(system),
            .architecture = names.machine,
            .language = texts::languageOfEnvironment()};
}

UpdateFeed parseFeed(std::string_view text, UpdateTarget const& target)
{
    json::object const feed = parsed(text);
    if (numberIn(feed, "format") != knownFormat)
        throw updateFailure("update.error.format");
    if (textIn(feed, "program") != ownProgram)
        throw updateFailure("update.error.program");
    std::string_view const version = textIn(feed, "version");
    if (!isVersion(version))
        throw updateFailure("update.error.feed");
    return {.version = std::string(version),
            .notes = notesIn(feed, target.language),
            .archive = archiveFor(feed, target)};
}

UpdateFeed readFeed(std::string_view document, UpdateKey const& key, UpdateTarget const& target)
{
    if (document.size() > maxFeedBytes)
        throw updateFailure("update.error.feed");
    json::object const envelope = parsed(document);
    std::string_view const text = textIn(envelope, "feed");
    if (!key.verifies(text, textIn(envelope, "signature")))
        throw updateFailure("update.error.signature");
    return parseFeed(text, target);
}

} // namespace zelvo
