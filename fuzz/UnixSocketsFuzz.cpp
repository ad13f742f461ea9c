#include "platform/linux/wayland/SocketHolders.h"
#include "platform/linux/wayland/UnixSockets.h"

#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using namespace zelvo;
    std::vector<UnixSocket> sockets;
    bool isEnd = false;
    readUnixSockets({data, size}, sockets, isEnd);
    // A message has a header and what it tells of the socket.
    if (sockets.size() > size / 32)
        std::abort();
    std::istringstream text(std::string(data, data + size));
    unixSocketNames(text);
    return 0;
}
