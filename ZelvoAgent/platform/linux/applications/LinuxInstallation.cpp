#include "platform/linux/applications/LinuxInstallation.h"

#include "base/EmbeddedFile.h"
#include "platform/linux/applications/EntryText.h"
#include "platform/linux/system/StartAfterEnd.h"
#include "platform/linux/system/TrashCan.h"
#include "platform/portable/files/FileBytes.h"
#include "platform/portable/files/Files.h"
#include "platform/portable/files/TemporaryFile.h"
#include "platform/portable/files/UniqueFd.h"
#include "platform/portable/settings/FileInformationDictionary.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <system_error>
#include <vector>

namespace zelvo {

extern EmbeddedFile const embedded_desktop_entry;
extern EmbeddedFile const embedded_entry_icon;

namespace {

namespace fs = std::filesystem;

constexpr char const* entryName = "dev.zelvo.agent.desktop";
constexpr char const* iconName = "dev.zelvo.agent.png";
constexpr char const* informationName = "Info.json";
constexpr std::size_t maxInformation = 1U << 20;
constexpr std::size_t maxEntry = 1U << 20;
constexpr mode_t programMode = S_IRWXU;

/// The folder as it is written and without links, each with a "/" at its end.
void addFolder(std::vector<std::string>& folders, fs::path const& folder)
{
    std::error_code error;
    fs::path const real = fs::weakly_canonical(folder, error);
    folders.push_back((folder / "").string());
    if (!error && real != folder)
        folders.push_back((real / "").string());
}

/// Takes the right to write in a folder from everybody but its owner.
bool closeToOthers(int folder)
{
    constexpr mode_t others = S_IWGRP | S_IWOTH;
    struct stat facts{};
    return ::fstat(folder, &facts) == 0 &&
           ((facts.st_mode & others) == 0 || ::fchmod(folder, facts.st_mode & 07777 & ~others) == 0);
}

bool copyBytes(fs::path const& from, TemporaryFile& to)
{
    constexpr std::size_t piece = 1U << 20;
    UniqueFd const source(::open(from.c_str(), O_RDONLY | O_CLOEXEC));
    if (!source)
        return false;
    std::string content;
    do {
        content.clear();
        if (!files::readUpTo(source.get(), piece, content) || !to.write(content))
            return false;
    } while (!content.empty());
    return true;
}

/// Writes a file of the person's folders, with the folder.
bool write(fs::path const& file, std::string_view content)
{
    return files::makePrivateFolder(file.parent_path()) && files::replace(file, content);
}

bool isThere(fs::path const& path)
{
    std::error_code error;
    return fs::exists(fs::symlink_status(path, error));
}

} // namespace

LinuxInstallation::LinuxInstallation(fs::path program, Folders folders, RegisterLinks registerLinks)
    : program(std::move(program)), folders(std::move(folders)), registerLinks(std::move(registerLinks))
{
}

ProgramPlaces LinuxInstallation::places()
{
    ProgramPlaces places{.program = program.string(),
                         .applicationsPath = installedProgram().string(),
                         .development = {"/build/run/bin/"}};
    for (char const* const folder : {"/media", "/run/media", "/mnt", "/tmp", "/var/tmp"})
        addFolder(places.temporary, folder);
    if (folders.runtime)
        addFolder(places.temporary, *folders.runtime);
    for (char const* const folder : {"/usr", "/opt"})
        addFolder(places.permanent, folder);
    return places;
}

std::optional<std::string> LinuxInstallation::installedVersion()
{
    if (!files::identityOf(installedProgram()))
        return std::nullopt;
    FileInformationDictionary const information(installedProgram().parent_path() / informationName);
    return information.text("CFBundleShortVersionString");
}

/// The copies get their names only when everything else has succeeded, the program last.
bool LinuxInstallation::install()
{
    fs::path const folder = installedProgram().parent_path();
    if (!files::makePrivateFolder(folder))
        return false;
    UniqueFd const into(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    TemporaryFile copy(into.get(), programMode);
    TemporaryFile information(into.get(), S_IRUSR | S_IWUSR);
    auto const given = files::read(FileInformationDictionary::fileFor(program.parent_path()), maxInformation);
    bool const isCopied = closeToOthers(into.get()) && copy && copyBytes(program, copy) && copy.sync() &&
                          (!given || (information.write(given->content) && information.sync()));
    if (!isCopied || !writeEntries() || !trashEarlierCopy())
        return false;
    if ((given && !information.rename(informationName)) || !copy.rename(installedProgram().filename()))
        return false;
    files::syncFolder(folder);
    registerLinks(folders.dataHome / "applications" / entryName);
    return true;
}

bool LinuxInstallation::trashEarlierCopy() const
{
    fs::path const information = installedProgram().parent_path() / informationName;
    auto const isGone = [this](fs::path const& old) {
        return !isThere(old) || moveToTrash(old, folders.dataHome);
    };
    return isGone(installedProgram()) && isGone(information);
}

bool LinuxInstallation::writeEntries() const
{
    fs::path const icons = folders.dataHome / "icons" / "hicolor" / "128x128" / "apps";
    return write(icons / iconName, embedded_entry_icon.text()) &&
           write(folders.dataHome / "applications" / entryName,
                 EntryText::forMenu(embedded_desktop_entry.text(), installedProgram())) &&
           writeAutostart();
}

bool LinuxInstallation::writeAutostart() const
{
    fs::path const file = folders.configHome / "autostart" / entryName;
    auto const present = files::read(file, maxEntry);
    return (present && EntryText::isSwitchedOff(present->content)) ||
           write(file, EntryText::forAutostart(embedded_desktop_entry.text(), installedProgram()));
}

bool LinuxInstallation::startAfterEnd(std::string successor)
{
    return startAfterEndOf(::getpid(), successor);
}

fs::path runningProgram()
{
    std::error_code error;
    return fs::read_symlink("/proc/self/exe", error);
}

} // namespace zelvo
