#pragma once

#include <cstdint>
#include <span>
#include <vector>

/// The words of rtnetlink. Pure: bytes in, facts out.
namespace zelvo::routes {

/// The request for the routes of all families.
std::vector<unsigned char> dumpRequest(std::uint32_t sequence);

/// What one packet of the kernel says.
struct Packet {
    bool hasDefaultRoute = false; ///< the answer to the request lists a usable default route
    bool isEnd = false;           ///< the answer is complete
    bool isInterrupted = false;   ///< the routes changed while they were listed: the answer is worth nothing
    bool isChange = false;        ///< routes, addresses or links have changed
    bool operator==(Packet const&) const = default;
};

/// Reads a packet; `sequence` is that of the request. What is cut short or unknown is passed over.
Packet parse(std::span<unsigned char const> bytes, std::uint32_t sequence);

} // namespace zelvo::routes
