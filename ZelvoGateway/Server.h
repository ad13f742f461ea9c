#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "base/Clock.h"

#include <cstdint>
#include <memory>
#include <string>

namespace zelvo::service {

/// The whole gateway: puts its parts together and runs them. Everything runs on the one thread that calls
/// run(); two workers do what takes long, such as large texts and files.
class Server {
public:
    /// Opens the store and listens. Throws std::runtime_error with a text for the person who started the
    /// program.
    /// clock   what agents and queues go by; it must outlive the server. Null for the server's own.
    explicit Server(Settings wanted, Clock* clock = nullptr);
    ~Server();

    std::uint16_t port() const;
    /// Where a browser reaches it: the public URL, or "http://127.0.0.1:8737".
    std::string address() const;
    std::string newConsoleLink();

    /// Serves until stop(); returns once every connection has ended.
    void run();
    /// Ends every connection, machines with 1001, and lets run() return. From any thread.
    void stop();

private:
    class Parts;
    std::unique_ptr<Parts> parts;
};

} // namespace zelvo::service
