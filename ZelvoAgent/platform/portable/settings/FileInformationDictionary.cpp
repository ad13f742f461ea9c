#include "platform/portable/settings/FileInformationDictionary.h"

#include "platform/portable/files/Files.h"
#include "wire/Json.h"

namespace zelvo {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t maxFile = 1u << 20;

fs::path executableFolder()
{
    std::error_code error;
    return fs::read_symlink("/proc/self/exe", error).parent_path();
}

/// A file of the administrator for all people of the computer. Only a package manager's program has one.
fs::path administratorsFile(fs::path const& executableFolder)
{
    return executableFolder == "/usr/bin" ? "/etc/zelvo-agent/Info.json" : fs::path();
}

boost::json::object objectIn(fs::path const& file)
{
    auto const read = files::read(file, maxFile);
    auto value = read ? parseJson(read->content) : std::nullopt;
    return value && value->is_object() ? std::move(value->get_object()) : boost::json::object();
}

} // namespace

fs::path FileInformationDictionary::fileFor(fs::path const& executableFolder)
{
    fs::path beside = executableFolder / "Info.json";
    if (files::identityOf(beside))
        return beside;
    return executableFolder.parent_path() / "share" / "zelvo-agent" / "Info.json";
}

FileInformationDictionary::FileInformationDictionary()
    : FileInformationDictionary(fileFor(executableFolder()), administratorsFile(executableFolder()))
{
}

FileInformationDictionary::FileInformationDictionary(fs::path const& file) : entries(objectIn(file)) {}

FileInformationDictionary::FileInformationDictionary(fs::path const& file, fs::path const& replacing)
    : FileInformationDictionary(file)
{
    boost::json::object const replaced = objectIn(replacing);
    for (std::string_view const key : {"ZelvoGatewayURL", "ZelvoConsoleURL"})
        if (auto const address = read::text(replaced, key))
            entries[key] = *address;
}

std::optional<std::string> FileInformationDictionary::text(std::string_view key) const
{
    return read::text(entries, key);
}

} // namespace zelvo
