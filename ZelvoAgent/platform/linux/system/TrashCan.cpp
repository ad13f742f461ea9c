#include "platform/linux/system/TrashCan.h"

#include "platform/linux/system/FileUrl.h"
#include "platform/portable/files/FileBytes.h"
#include "platform/portable/files/Files.h"
#include "platform/portable/files/UniqueFd.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <string>

namespace zelvo {

namespace {

namespace fs = std::filesystem;

constexpr int maxTries = 1000;

std::string localTime()
{
    std::time_t const now = std::time(nullptr);
    std::tm parts{};
    ::localtime_r(&now, &parts);
    char text[32];
    return {text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts)};
}

/// "name", then "name.2", "name.3" and so on.
std::string nameInTrash(fs::path const& file, int attempt)
{
    std::string name = file.filename().string();
    return attempt == 1 ? name : name + "." + std::to_string(attempt);
}

/// The information file reserves the name: creating it fails if it exists.
UniqueFd reserve(fs::path const& information)
{
    return UniqueFd(::open(information.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
}

bool isThere(fs::path const& path)
{
    struct stat facts{};
    return ::lstat(path.c_str(), &facts) == 0;
}

} // namespace

bool moveToTrash(fs::path const& file, fs::path const& dataHome)
{
    fs::path const files = dataHome / "Trash" / "files";
    fs::path const informations = dataHome / "Trash" / "info";
    if (!isThere(file) || !files::makePrivateFolder(files) || !files::makePrivateFolder(informations))
        return false;
    std::string const content =
        "[Trash Info]\nPath=" + urlPathOf(file) + "\nDeletionDate=" + localTime() + "\n";
    for (int attempt = 1; attempt <= maxTries; ++attempt) {
        std::string const name = nameInTrash(file, attempt);
        fs::path const information = informations / (name + ".trashinfo");
        UniqueFd const reserved = reserve(information);
        if (!reserved && errno == EEXIST)
            continue;
        if (!reserved)
            return false;
        bool const isTaken = isThere(files / name); // By a file without an information file.
        if (!isTaken && files::writeAll(reserved.get(), content) &&
            ::rename(file.c_str(), (files / name).c_str()) == 0)
            return true;
        ::unlink(information.c_str());
        if (!isTaken)
            return false;
    }
    return false;
}

} // namespace zelvo
