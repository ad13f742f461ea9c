#include "platform/linux/system/RouteMessages.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <cstring>

namespace zelvo::routes {

namespace {

/// A default route that carries packets: neither one that rejects them nor one over a link that is down.
bool isUsableDefault(rtmsg const& route)
{
    return (route.rtm_family == AF_INET || route.rtm_family == AF_INET6) && route.rtm_dst_len == 0 &&
           route.rtm_type == RTN_UNICAST && route.rtm_table != RT_TABLE_LOCAL &&
           (route.rtm_flags & (RTNH_F_DEAD | RTNH_F_LINKDOWN | RTM_F_CLONED)) == 0;
}

bool isChange(std::uint16_t type)
{
    switch (type) {
    case RTM_NEWROUTE:
    case RTM_DELROUTE:
    case RTM_NEWADDR:
    case RTM_DELADDR:
    case RTM_NEWLINK:
    case RTM_DELLINK:
        return true;
    default:
        return false;
    }
}

void take(nlmsghdr const& header,
          std::span<unsigned char const> payload,
          std::uint32_t sequence,
          Packet& packet)
{
    bool const isAnswer = header.nlmsg_seq == sequence;
    if (isAnswer && (header.nlmsg_flags & NLM_F_DUMP_INTR) != 0)
        packet.isInterrupted = true;
    if (isAnswer && (header.nlmsg_type == NLMSG_DONE || header.nlmsg_type == NLMSG_ERROR)) {
        packet.isEnd = true;
    } else if (isAnswer && header.nlmsg_type == RTM_NEWROUTE) {
        rtmsg route{};
        if (payload.size() < sizeof route)
            return;
        std::memcpy(&route, payload.data(), sizeof route);
        packet.hasDefaultRoute = packet.hasDefaultRoute || isUsableDefault(route);
    } else if (!isAnswer && isChange(header.nlmsg_type)) {
        packet.isChange = true;
    }
}

} // namespace

std::vector<unsigned char> dumpRequest(std::uint32_t sequence)
{
    struct {
        nlmsghdr header;
        rtmsg route;
    } request{};
    request.header.nlmsg_len = sizeof request;
    request.header.nlmsg_type = RTM_GETROUTE;
    request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    request.header.nlmsg_seq = sequence;
    request.route.rtm_family = AF_UNSPEC;
    auto const* const bytes = reinterpret_cast<unsigned char const*>(&request);
    return {bytes, bytes + sizeof request};
}

Packet parse(std::span<unsigned char const> bytes, std::uint32_t sequence)
{
    Packet packet;
    nlmsghdr header{};
    while (bytes.size() >= sizeof header) {
        std::memcpy(&header, bytes.data(), sizeof header);
        if (header.nlmsg_len < sizeof header || header.nlmsg_len > bytes.size())
            break;
        take(header, bytes.subspan(sizeof header, header.nlmsg_len - sizeof header), sequence, packet);
        bytes = bytes.subspan(std::min<std::size_t>(NLMSG_ALIGN(header.nlmsg_len), bytes.size()));
    }
    return packet;
}

} // namespace zelvo::routes
