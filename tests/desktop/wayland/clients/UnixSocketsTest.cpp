#include "platform/linux/wayland/UnixSockets.h"

#include <gtest/gtest.h>

#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <linux/unix_diag.h>
#include <netinet/tcp.h>

#include <cstring>

namespace zelvo::test {
namespace {

/// The bytes of the kernel's answers.
class Packet {
public:
    template <class T>
    Packet& add(T const& value)
    {
        auto const* const from = reinterpret_cast<std::uint8_t const*>(&value);
        bytes.insert(bytes.end(), from, from + sizeof value);
        return *this;
    }
    Packet& attribute(std::uint16_t type, std::string value)
    {
        add(nlattr{.nla_len = static_cast<std::uint16_t>(sizeof(nlattr) + value.size()), .nla_type = type});
        bytes.insert(bytes.end(), value.begin(), value.end());
        bytes.resize((bytes.size() + 3) / 4 * 4);
        return *this;
    }
    Packet& message(std::uint16_t type, Packet const& content)
    {
        nlmsghdr header{};
        header.nlmsg_len = static_cast<std::uint32_t>(sizeof header + content.bytes.size());
        header.nlmsg_type = type;
        add(header);
        bytes.insert(bytes.end(), content.bytes.begin(), content.bytes.end());
        return *this;
    }

    std::vector<std::uint8_t> bytes;
};

std::string bytesOf(std::uint32_t number)
{
    return {reinterpret_cast<char const*>(&number), sizeof number};
}

Packet socketOf(std::uint8_t state, std::uint32_t inode)
{
    Packet content;
    content.add(unix_diag_msg{.udiag_family = 1, .udiag_type = 1, .udiag_state = state, .udiag_ino = inode});
    return content;
}

Packet sample()
{
    Packet listening = socketOf(TCP_LISTEN, 10);
    listening.attribute(UNIX_DIAG_NAME, std::string("/run/user/1/wayland-0\0", 22));
    listening.attribute(UNIX_DIAG_VFS, bytesOf(77) + bytesOf(1));
    Packet accepted = socketOf(TCP_ESTABLISHED, 11);
    accepted.attribute(UNIX_DIAG_NAME, std::string("\0/tmp/x", 7));
    accepted.attribute(UNIX_DIAG_PEER, bytesOf(12));
    Packet packet;
    packet.message(SOCK_DIAG_BY_FAMILY, listening);
    packet.message(SOCK_DIAG_BY_FAMILY, accepted);
    return packet;
}

TEST(UnixSockets, areRead)
{
    std::vector<UnixSocket> sockets;
    bool isEnd = true;

    ASSERT_TRUE(readUnixSockets(sample().bytes, sockets, isEnd));

    EXPECT_FALSE(isEnd);
    ASSERT_EQ(sockets.size(), 2u);
    EXPECT_EQ(sockets[0], (UnixSocket{10, 0, true, "/run/user/1/wayland-0", 77}));
    EXPECT_EQ(sockets[1], (UnixSocket{11, 12, false, std::string("\0/tmp/x", 7), 0}));
    Packet end;
    end.message(NLMSG_DONE, {});
    EXPECT_TRUE(readUnixSockets(end.bytes, sockets, isEnd));
    EXPECT_TRUE(isEnd);
}

TEST(UnixSockets, areRefusedWithErrorsAndWhenCutShort)
{
    std::vector<UnixSocket> sockets;
    bool isEnd = false;
    Packet error;
    error.message(NLMSG_ERROR, {});
    EXPECT_FALSE(readUnixSockets(error.bytes, sockets, isEnd));

    auto const whole = sample().bytes;
    std::size_t accepted = 0;
    for (std::size_t length = 1; length < whole.size(); ++length) {
        // Only the end of the first message is an end.
        std::vector<std::uint8_t> const part(whole.begin(),
                                             whole.begin() + static_cast<std::ptrdiff_t>(length));
        accepted += readUnixSockets(part, sockets, isEnd);
    }
    EXPECT_EQ(accepted, 1u);
}

} // namespace
} // namespace zelvo::test
