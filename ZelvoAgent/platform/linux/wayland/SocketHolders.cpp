#include "platform/linux/wayland/SocketHolders.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

namespace zelvo {

namespace {

struct CloseFolder {
    void operator()(DIR* folder) const noexcept { ::closedir(folder); }
};
using Folder = std::unique_ptr<DIR, CloseFolder>;

/// The number that the whole text is, or 0.
template <class T>
T numberOf(std::string_view text)
{
    T number{};
    auto const [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    return failure == std::errc() && end == text.data() + text.size() ? number : 0;
}

/// The inode of a socket from its link, "socket:[123]", or 0.
std::uint32_t socketIn(int folder, char const* descriptor)
{
    constexpr std::string_view head = "socket:[";
    char link[64];
    auto const length = ::readlinkat(folder, descriptor, link, sizeof link);
    if (length <= static_cast<ssize_t>(head.size()))
        return 0;
    std::string_view text(link, static_cast<std::size_t>(length));
    if (!text.starts_with(head) || !text.ends_with(']'))
        return 0;
    text.remove_prefix(head.size());
    text.remove_suffix(1);
    return numberOf<std::uint32_t>(text);
}

/// Threads of the kernel and processes that have ended have no arguments.
bool isProgram(std::string const& process)
{
    return std::ifstream(process + "/cmdline").peek() != std::ifstream::traits_type::eof();
}

/// The inode of a process's network namespace; 0 if it cannot be read.
std::uint64_t namespaceOf(std::string const& process)
{
    struct stat file{};
    return ::stat((process + "/ns/net").c_str(), &file) == 0 ? file.st_ino : 0;
}

using Namespaces = std::map<std::uint64_t, OtherNamespace>;

void readProcess(std::int32_t pid, SocketHolders& holders, Namespaces& namespaces)
{
    std::string const process = "/proc/" + std::to_string(pid);
    Folder const folder(::opendir((process + "/fd").c_str()));
    if (!folder) {
        if ((errno == EACCES || errno == EPERM) && isProgram(process))
            holders.unreadable.push_back(pid);
        return;
    }
    bool hasSocket = false;
    while (dirent const* const entry = ::readdir(folder.get()))
        if (auto const inode = socketIn(::dirfd(folder.get()), entry->d_name)) {
            holders.ofInode[inode].insert(pid);
            hasSocket = true;
        }
    auto const own = namespaceOf("/proc/self");
    auto const other = namespaceOf(process);
    if (!other || other == own)
        return;
    auto const [found, isNew] = namespaces.try_emplace(other);
    if (hasSocket)
        found->second.processes.insert(pid);
    if (std::ifstream names(process + "/net/unix"); isNew)
        found->second.names = unixSocketNames(names);
}

} // namespace

std::set<std::string> unixSocketNames(std::istream& text)
{
    // Seven columns, then the name: "ffff8880: 00000003 00000000 00000000 0001 03 31415
    // /run/user/1000/wayland-0".
    constexpr int columns = 7;
    std::set<std::string> names;
    std::string line;
    while (std::getline(text, line)) {
        std::istringstream words(line);
        std::string name;
        for (int i = 0; i < columns; ++i)
            words >> name;
        if (!(words >> std::ws) || !std::getline(words, name))
            continue;
        if (name.starts_with('@'))
            name[0] = '\0';
        names.insert(name);
    }
    return names;
}

SocketHolders SocketHolders::read()
{
    SocketHolders holders;
    Namespaces namespaces;
    Folder const all(::opendir("/proc"));
    if (!all)
        return holders;
    while (dirent const* const entry = ::readdir(all.get()))
        if (auto const pid = numberOf<std::int32_t>(entry->d_name))
            readProcess(pid, holders, namespaces);
    for (auto& [inode, other] : namespaces)
        if (!other.names.empty())
            holders.elsewhere.push_back(std::move(other));
    return holders;
}

} // namespace zelvo
