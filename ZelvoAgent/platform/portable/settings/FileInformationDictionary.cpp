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

} // namespace

fs::path FileInformationDictionary::fileFor(fs::path const& executableFolder)
{
    fs::path beside = executableFolder / "Info.json";
    if (files::identityOf(beside))
        return beside;
    return executableFolder.parent_path() / "share" / "zelvo-agent" / "Info.json";
}

FileInformationDictionary::FileInformationDictionary()
    : FileInformationDictionary(fileFor(executableFolder()))
{
}

FileInformationDictionary::FileInformationDictionary(fs::path const& file)
{
    auto const read = files::read(file, maxFile);
    auto value = read ? parseJson(read->content) : std::nullopt;
    if (value && value->is_object())
        entries = std::move(value->get_object());
}

std::optional<std::string> FileInformationDictionary::text(std::string_view key) const
{
    return read::text(entries, key);
}

} // namespace zelvo
