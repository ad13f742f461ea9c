#include "platform/portable/settings/SettingsVersion.h"

#include "base/LocalizedTexts.h"
#include "platform/portable/files/Files.h"
#include "platform/portable/files/FolderExchange.h"

#include <charconv>
#include <cstdint>
#include <limits>
#include <string>
#include <system_error>
#include <utility>

namespace zelvo {

namespace {

namespace fs = std::filesystem;

constexpr char const* versionName = "version";
constexpr std::size_t maxVersionBytes = 64;

[[noreturn]] void fail(std::error_code error)
{
    throw SettingsFailure(localized("settings.error.disk", {error.message()}));
}

std::error_code lastError()
{
    return {errno, std::generic_category()};
}

/// A new private folder with the files of another one, all on disk.
void copyFolder(fs::path const& from, fs::path const& to)
{
    std::error_code error;
    fs::remove_all(to, error);
    if (!files::makePrivateFolder(to))
        fail(lastError());
    constexpr auto maxBytes = std::numeric_limits<std::size_t>::max();
    for (fs::directory_iterator entry(from, error), end; !error && entry != end; entry.increment(error)) {
        if (!entry->is_regular_file())
            continue;
        auto const found = files::read(entry->path(), maxBytes);
        if (!found)
            fail(std::make_error_code(std::errc::io_error));
        if (!files::replace(to / entry->path().filename(), found->content))
            fail(lastError());
    }
    if (error)
        fail(error);
    files::syncFolder(to);
}

void exchange(fs::path const& one, fs::path const& other)
{
    if (!exchangeFolders(one, other))
        fail(lastError());
    files::syncFolder(one.parent_path());
}

void writeVersion(fs::path const& folder, int version)
{
    if (!files::replace(folder / versionName, std::to_string(version) + "\n"))
        fail(lastError());
    files::syncFolder(folder);
}

} // namespace

SettingsVersion::SettingsVersion(fs::path folder) : SettingsVersion(std::move(folder), current, {}) {}

SettingsVersion::SettingsVersion(fs::path folder, int wanted, std::span<Step const> steps)
    : folder(std::move(folder)), wanted(wanted), steps(steps)
{
}

fs::path SettingsVersion::copyOf(int version) const
{
    return folder.string() + ".v" + std::to_string(version);
}

int SettingsVersion::stored() const
{
    std::error_code error;
    if (!fs::exists(folder, error))
        return wanted;
    if (!fs::exists(folder / versionName, error))
        return 0;
    auto const found = files::read(folder / versionName, maxVersionBytes);
    std::string const text = found ? found->content : std::string();
    int version = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), version).ec != std::errc())
        fail(std::make_error_code(std::errc::io_error));
    return version;
}

void SettingsVersion::bringUpToDate(std::function<bool()> const& mayRestore) const
{
    int const found = stored();
    std::error_code error;
    if (found > wanted && mayRestore && mayRestore() && fs::is_directory(copyOf(wanted), error))
        return restore(found);
    if (found > wanted)
        throw SettingsFailure(localized("settings.error.newer", {folder.string()}));
    if (found < wanted)
        return migrate(found);
    if (!fs::exists(folder / versionName, error) && files::makePrivateFolder(folder))
        writeVersion(folder, wanted);
}

/// A copy that is complete gets its name only then; it is never written over by a half one.
void SettingsVersion::migrate(int from) const
{
    fs::path const work = folder.string() + ".new";
    copyFolder(folder, work);
    std::error_code error;
    fs::path const copy = copyOf(from);
    fs::remove_all(copy, error);
    fs::rename(work, copy, error);
    if (error)
        fail(error);
    copyFolder(copy, work);
    for (Step const& step : steps)
        if (step.from >= from && step.from < wanted)
            step.apply(work);
    writeVersion(work, wanted);
    exchange(work, folder);
    fs::remove_all(work, error);
}

/// The newer settings are kept too, for when the newer version comes back.
void SettingsVersion::restore(int newer) const
{
    fs::path const work = folder.string() + ".new";
    copyFolder(copyOf(wanted), work);
    exchange(work, folder);
    std::error_code error;
    fs::remove_all(copyOf(newer), error);
    fs::rename(work, copyOf(newer), error);
}

} // namespace zelvo
