#pragma once

#include <cstdint>
#include <span>
#include <vector>

/// The messages of rtnetlink. Pure: bytes in, facts out.
namespace zelvo::routes {

/// The request for the routes of all families.
std::vector<unsigned char> dumpRequest(std::uint32_t sequence);

/// The content of one packet from the kernel.
struct Packet {
    bool hasDefaultRoute = false; ///< the answer to the request lists a usable default route
    bool isEnd = false;           ///< the answer is complete
    bool isInterrupted = false;   ///< the routes changed while they were listed: the answer is invalid
    bool isChange = false;        ///< routes, addresses or links have changed
    bool operator==(Packet const&) const = default;
};

/// Parses a packet; `sequence` is the request's. Truncated and unknown parts are skipped.
Packet parse(std::span<unsigned char const> bytes, std::uint32_t sequence);

} // namespace zelvo::routes
