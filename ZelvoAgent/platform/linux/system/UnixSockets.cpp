#include "platform/linux/system/UnixSockets.h"

#include "platform/portable/files/UniqueFd.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <linux/sock_diag.h>
#include <linux/unix_diag.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace zelvo {

namespace {

namespace fs = std::filesystem;

bool askForSockets(int descriptor)
{
    struct {
        nlmsghdr header;
        unix_diag_req question;
    } message{};
    message.header.nlmsg_len = sizeof message;
    message.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    message.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    message.question.sdiag_family = AF_UNIX;
    message.question.udiag_states = 1U << TCP_ESTABLISHED;
    message.question.udiag_show = UDIAG_SHOW_NAME | UDIAG_SHOW_PEER;
    return ::send(descriptor, &message, sizeof message, 0) == static_cast<ssize_t>(sizeof message);
}

std::string nameIn(rtattr const* attribute)
{
    std::string name(static_cast<char const*>(RTA_DATA(attribute)), RTA_PAYLOAD(attribute));
    if (!name.empty() && name.front() == '\0')
        name.front() = '@';
    else
        name.resize(std::min(name.find('\0'), name.size()));
    return name;
}

UnixSocket socketIn(nlmsghdr const* message)
{
    auto const* const described = static_cast<unix_diag_msg const*>(NLMSG_DATA(message));
    UnixSocket socket{.inode = described->udiag_ino};
    auto left = static_cast<int>(message->nlmsg_len - NLMSG_LENGTH(sizeof *described));
    auto const* attribute = reinterpret_cast<rtattr const*>(described + 1);
    for (; RTA_OK(attribute, left); attribute = RTA_NEXT(attribute, left))
        if (attribute->rta_type == UNIX_DIAG_NAME)
            socket.name = nameIn(attribute);
        else if (attribute->rta_type == UNIX_DIAG_PEER && RTA_PAYLOAD(attribute) >= sizeof socket.peer)
            std::memcpy(&socket.peer, RTA_DATA(attribute), sizeof socket.peer);
    return socket;
}

enum class Progress { more, done, failed };

Progress readSome(int descriptor, std::vector<UnixSocket>& sockets)
{
    alignas(nlmsghdr) std::array<char, 32768> bytes{};
    auto const got = ::recv(descriptor, bytes.data(), bytes.size(), 0);
    if (got <= 0)
        return Progress::failed;
    auto left = static_cast<unsigned>(got);
    for (auto const* message = reinterpret_cast<nlmsghdr const*>(bytes.data()); NLMSG_OK(message, left);
         message = NLMSG_NEXT(message, left)) {
        if (message->nlmsg_type == NLMSG_DONE)
            return Progress::done;
        if (message->nlmsg_type != SOCK_DIAG_BY_FAMILY ||
            message->nlmsg_len < NLMSG_LENGTH(sizeof(unix_diag_msg)))
            return Progress::failed;
        sockets.push_back(socketIn(message));
    }
    return Progress::more;
}

/// The inode in the text of a link such as "socket:[123]".
std::optional<std::uint32_t> inodeIn(std::string const& link)
{
    constexpr std::string_view start = "socket:[";
    std::uint32_t inode = 0;
    if (!link.starts_with(start))
        return std::nullopt;
    auto const [end, error] = std::from_chars(link.data() + start.size(), link.data() + link.size(), inode);
    return error == std::errc() ? std::optional(inode) : std::nullopt;
}

std::optional<std::int32_t> pidIn(std::string const& name)
{
    std::int32_t pid = 0;
    auto const [end, error] = std::from_chars(name.data(), name.data() + name.size(), pid);
    return error == std::errc() && end == name.data() + name.size() ? std::optional(pid) : std::nullopt;
}

} // namespace

std::optional<std::vector<UnixSocket>> connectedUnixSockets()
{
    UniqueFd const link(::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_SOCK_DIAG));
    if (link.get() < 0 || !askForSockets(link.get()))
        return std::nullopt;
    std::vector<UnixSocket> sockets;
    Progress progress = Progress::more;
    while (progress == Progress::more)
        progress = readSome(link.get(), sockets);
    return progress == Progress::done ? std::optional(std::move(sockets)) : std::nullopt;
}

std::optional<std::set<std::uint32_t>> socketsOfProcess(std::int32_t pid)
{
    std::error_code error;
    fs::directory_iterator files("/proc/" + std::to_string(pid) + "/fd", error);
    if (error)
        return std::nullopt;
    std::set<std::uint32_t> inodes;
    for (; files != fs::directory_iterator(); files.increment(error)) {
        if (error)
            break; // The process has ended.
        std::error_code gone;
        if (auto const inode = inodeIn(fs::read_symlink(files->path(), gone).string()))
            inodes.insert(*inode);
    }
    return inodes;
}

std::vector<std::int32_t> ownersOfSockets(std::set<std::uint32_t> const& inodes,
                                          std::set<std::uint32_t>& unowned)
{
    unowned = inodes;
    std::vector<std::int32_t> owners;
    std::error_code error;
    for (fs::directory_iterator entries("/proc", error); !error && entries != fs::directory_iterator();
         entries.increment(error)) {
        auto const pid = pidIn(entries->path().filename());
        auto const open = pid ? socketsOfProcess(*pid) : std::nullopt;
        if (!open)
            continue;
        bool isOwner = false;
        for (std::uint32_t const inode : *open)
            if (inodes.contains(inode)) {
                isOwner = true;
                unowned.erase(inode);
            }
        if (isOwner)
            owners.push_back(*pid);
    }
    return owners;
}

} // namespace zelvo
