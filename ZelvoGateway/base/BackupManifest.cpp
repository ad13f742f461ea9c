#include "ZelvoGateway/base/BackupManifest.h"

#include "wire/Json.h"

#include <algorithm>
#include <cctype>
#include <set>
#include <stdexcept>

namespace zelvo::service {

namespace {

constexpr std::int64_t format = 1;
constexpr std::string_view program = "zelvo-gateway";

[[noreturn]] void refuse(char const* why)
{
    throw std::runtime_error(std::string(BackupManifest::fileName) +
                             " is not the manifest of a backup: " + why);
}

bool isRecording(std::string_view name)
{
    constexpr std::string_view folder = "recordings/";
    constexpr std::string_view end = ".mp4";
    if (!name.starts_with(folder) || !name.ends_with(end) || name.size() <= folder.size() + end.size())
        return false;
    std::string_view const id = name.substr(folder.size(), name.size() - folder.size() - end.size());
    return std::ranges::all_of(id, [](unsigned char sign) { return std::isalnum(sign) || sign == '_'; });
}

/// Only what a backup consists of, so that a manifest can name no place outside of its folder.
void assertKnown(std::string const& name)
{
    if (name != BackupManifest::storeName && name != BackupManifest::keyName && !isRecording(name))
        refuse("it names a file that belongs to none");
}

bool isDigest(std::string const& text)
{
    return text.size() == 64 && std::ranges::all_of(text, [](char sign) {
               return (sign >= '0' && sign <= '9') || (sign >= 'a' && sign <= 'f');
           });
}

BackupFile fileIn(json::value const& value)
{
    if (!value.is_object())
        refuse("a file is no object");
    json::object const& object = value.get_object();
    auto const name = read::text(object, "name");
    auto const bytes = read::integer(object, "bytes");
    auto const digest = read::text(object, "sha256");
    if (!name || !bytes || *bytes < 0 || !digest || !isDigest(*digest))
        refuse("a file has no name, size or SHA-256");
    assertKnown(*name);
    return {.name = *name, .digest = {.bytes = static_cast<std::uint64_t>(*bytes), .sha256 = *digest}};
}

std::vector<BackupFile> filesIn(json::array const& list)
{
    std::vector<BackupFile> files;
    std::set<std::string> names;
    for (json::value const& value : list) {
        files.push_back(fileIn(value));
        if (!names.insert(files.back().name).second)
            refuse("it names a file twice");
    }
    if (!names.contains(BackupManifest::storeName))
        refuse("it names no store");
    return files;
}

} // namespace

std::string BackupManifest::text() const
{
    json::array list;
    for (BackupFile const& file : files)
        list.push_back(
            json::object{{"name", file.name}, {"bytes", file.digest.bytes}, {"sha256", file.digest.sha256}});
    return writeJson(json::object{{"format", format},
                                  {"program", program},
                                  {"version", version},
                                  {"createdAt", createdAt},
                                  {"storeVersion", storeVersion},
                                  {"files", std::move(list)}}) +
           "\n";
}

BackupManifest BackupManifest::parse(std::string_view text)
{
    auto const value = text.size() <= maxBytes ? parseJson(text) : std::nullopt;
    if (!value || !value->is_object())
        refuse("it is no JSON object");
    json::object const& object = value->get_object();
    if (read::text(object, "program") != program)
        refuse("another program made it");
    if (read::integer(object, "format") != format)
        refuse("this program does not know its format");
    auto const version = read::text(object, "version");
    auto const createdAt = read::text(object, "createdAt");
    auto const storeVersion = read::integer(object, "storeVersion");
    json::array const* const list = read::array(object, "files");
    if (!version || !createdAt || !storeVersion || *storeVersion < 0 || !list)
        refuse("something is missing");
    return {
        .version = *version, .createdAt = *createdAt, .storeVersion = *storeVersion, .files = filesIn(*list)};
}

} // namespace zelvo::service
