#pragma once

#include <cstddef>
#include <span>

namespace zelvo {

/// The server's part of the greeting with which each EIS connection begins.
enum class EisGreeting {
    ongoing, ///< or unknown, because the bytes begin after it
    over,    ///< the bytes contain its end; what follows it is not looked at
    invalid, ///< the bytes are something else, or the server has hung up
};

/// Reads bytes from the beginning of a message.
EisGreeting eisGreetingIn(std::span<std::byte const> bytes);

/// Looks at what has arrived and was not read. Thus libei need not read from a connection that ends in the
/// greeting: version 1.3.901 crashes then. Never waits.
EisGreeting peekEisGreeting(int socket);

} // namespace zelvo
