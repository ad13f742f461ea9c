#include "platform/linux/system/OwnProgram.h"

#include "platform/portable/files/StandbyFolder.h"

#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <system_error>

namespace zelvo {

namespace {

namespace fs = std::filesystem;

/// Follows the link.
bool isSameFile(std::string const& one, std::string const& other)
{
    struct stat first{};
    struct stat second{};
    return ::stat(one.c_str(), &first) == 0 && ::stat(other.c_str(), &second) == 0 &&
           first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

/// A file may also have a name that only looks like that of a deleted one.
bool isDeleted(std::string const& file)
{
    struct stat found{};
    return ::stat(file.c_str(), &found) == 0 && found.st_nlink == 0;
}

std::string targetOf(std::string const& link)
{
    std::error_code error;
    return fs::read_symlink(link, error).string();
}

/// Where an update puts the program that it replaces.
std::string standbyOf(fs::path const& program)
{
    return (standbyFolderOf(program.parent_path()) / program.filename()).string();
}

} // namespace

bool runsOwnProgram(pid_t pid)
{
    std::string const own = "/proc/self/";
    std::string const others = "/proc/" + std::to_string(pid) + "/";
    if (isSameFile(own + "exe", others + "exe"))
        return true;
    // In another mount namespace the same path is another file.
    std::string const path = targetOf(own + "exe");
    std::string const other = targetOf(others + "exe");
    bool const wasReplaced = other == path + " (deleted)" && isDeleted(others + "exe");
    return !path.empty() && (wasReplaced || other == standbyOf(path)) &&
           isSameFile(own + "ns/mnt", others + "ns/mnt");
}

} // namespace zelvo
