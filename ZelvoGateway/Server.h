#pragma once

#include "ZelvoGateway/api/Api.h"
#include "ZelvoGateway/base/ApiKey.h"
#include "ZelvoGateway/base/DataFolder.h"
#include "ZelvoGateway/base/MemoryBudget.h"
#include "ZelvoGateway/base/ServerClock.h"
#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/http/HttpSession.h"
#include "ZelvoGateway/machines/MachineRegistry.h"
#include "ZelvoGateway/store/Store.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/thread_pool.hpp>

#include <memory>
#include <set>
#include <string>

namespace zelvo::service {

/// The whole gateway. Everything runs on the one thread that calls run(); two workers read and write large
/// texts.
class Server {
public:
    /// Opens the store and listens. Throws std::runtime_error with a text for the person who started it.
    /// Agents take turns and queued commands end by `clock`, which must outlive the server; without one the
    /// server has its own.
    explicit Server(Settings wanted, Clock* clock = nullptr);
    ~Server();

    std::uint16_t port() const { return boundPort; }
    /// Where a browser on this machine reaches it, "http://127.0.0.1:8737", or the public URL.
    std::string address() const;
    std::string newConsoleLink();

    /// Serves until stop(); returns when every connection has ended.
    void run();
    /// Ends the connections, machines with 1001, and lets run() return. From any thread.
    void stop();

private:
    void listen();
    Task<> acceptAll();
    Task<> serveOne(asio::ip::tcp::socket socket);
    void stopHere();

    Settings settings;
    DataFolder folder;
    ApiKey key;
    Store store;
    MachineRegistry machines;
    MemoryBudget memory;
    asio::io_context io{1};
    asio::thread_pool workers{2};
    ServerClock ownClock{io.get_executor()};
    Clock& clock;
    Api api;
    ServerParts parts;
    asio::ip::tcp::acceptor acceptor;
    std::set<std::shared_ptr<HttpSession>> sessions;
    TaskHandle maintenance;
    std::uint16_t boundPort = 0;
};

} // namespace zelvo::service
