#include "ZelvoGateway/Administration.h"
#include "ZelvoGateway/base/ApiKey.h"
#include "ZelvoGateway/base/DataFolder.h"
#include "ZelvoGateway/base/FlagTable.h"
#include "ZelvoGateway/net/TlsPair.h"
#include "ZelvoGateway/recordings/s3/S3RecordingFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ostream>
#include <system_error>

namespace zelvo::service {

namespace {

namespace fs = std::filesystem;

using Problems = std::vector<std::string>;

/// Whether this user may do that. mode: R_OK and so on
bool isPermitted(fs::path const& path, int mode)
{
    return ::faccessat(AT_FDCWD, path.c_str(), mode, AT_EACCESS) == 0;
}

/// The folder in which the data folder would be made.
fs::path existingParent(fs::path path)
{
    path = fs::absolute(path).lexically_normal();
    std::error_code ignored;
    while (path.has_relative_path() && !fs::exists(path, ignored))
        path = path.parent_path();
    return path;
}

void checkDataFolder(fs::path const& folder, Problems& problems)
{
    struct stat status{};
    if (::stat(folder.c_str(), &status) != 0) {
        fs::path const parent = existingParent(folder);
        if (errno != ENOENT || !fs::is_directory(parent) || !isPermitted(parent, W_OK | X_OK))
            problems.push_back("data: " + folder.string() + " can't be made");
        return;
    }
    if (!S_ISDIR(status.st_mode)) {
        problems.push_back("data: " + folder.string() + " is no folder");
        return;
    }
    if (status.st_uid != ::geteuid() && ::geteuid() != 0)
        problems.push_back("data: " + folder.string() + " belongs to another user");
    else if (!isPermitted(folder, R_OK | W_OK | X_OK))
        problems.push_back("data: " + folder.string() + " can't be written");
    std::error_code ignored;
    if (fs::exists(folder / DataFolder::unfinishedRestore, ignored))
        problems.push_back("data: a backup was not restored to " + folder.string() +
                           " completely; empty the folder and restore it again");
    try {
        ApiKey::stored(folder);
    } catch (std::runtime_error const& error) {
        problems.push_back(std::string("data: ") + error.what());
    }
}

/// Files that the settings name must be readable.
void checkFiles(GivenValues const& given, Problems& problems)
{
    for (Flag const& flag : allFlags()) {
        auto const found = given.find(flag.settingName());
        if (flag.kind == Flag::Kind::argument || flag.value != "FILE" || found == given.end())
            continue;
        for (std::string const& file : found->second)
            if (!isPermitted(file, R_OK))
                problems.push_back(std::string(flag.settingName()) + ": " + file + ": " +
                                   std::generic_category().message(errno));
    }
}

/// Call it when the files can be read.
void checkTls(TlsFiles const& files, Problems& problems)
{
    if (!files.isOn())
        return;
    try {
        loadTlsPair(files);
    } catch (TlsError const& error) {
        problems.push_back(std::string("tls-certificate, tls-key: ") + error.what());
    }
}

/// Call it when the files can be read. Changes nothing, also not in a bucket.
void checkRecordings(RecordingPlace const& place, Problems& problems)
{
    if (!place.folder.empty() &&
        (!fs::is_directory(place.folder) || !isPermitted(place.folder, R_OK | W_OK | X_OK)))
        problems.push_back("recordings-folder: " + place.folder + " is no folder that can be written");
    if (place.kind != RecordingPlace::Kind::s3)
        return;
    try {
        S3RecordingFiles::assertReachable(place.s3);
    } catch (RecordingFilesError const& error) {
        problems.emplace_back(error.what());
    }
}

} // namespace

bool checkSettings(FlagsReading const& reading, std::ostream& out)
{
    Problems problems = reading.problems;
    if (!reading.flags.settings.dataFolder.empty())
        checkDataFolder(reading.flags.settings.dataFolder, problems);
    std::size_t const found = problems.size();
    checkFiles(reading.flags.given, problems);
    if (reading.problems.empty() && problems.size() == found) {
        checkTls(reading.flags.settings.tls, problems);
        checkRecordings(reading.flags.settings.recordingPlace, problems);
    }
    for (std::string const& problem : problems)
        out << problem << "\n";
    if (problems.empty())
        out << "The configuration is fine.\n";
    return problems.empty();
}

} // namespace zelvo::service
