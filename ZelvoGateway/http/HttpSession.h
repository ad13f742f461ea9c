#pragma once

#include "ZelvoGateway/base/MemoryBudget.h"
#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/http/HttpMessage.h"
#include "ZelvoGateway/store/Store.h"
#include "base/Task.h"

#include <boost/asio/ip/tcp.hpp>

#include <memory>

namespace zelvo::service {

class Api;
class MachineRegistry;

/// What the sessions of one server share.
struct ServerParts {
    Settings const& settings;
    Store& store;
    MachineRegistry& machines;
    Api& api;
    MemoryBudget& memory;
    Executor workers;
    bool stopping = false;
};

/// One HTTP connection: reads requests within the limits, answers them, and hands the socket on when a
/// machine connects. Thread: the server's.
class HttpSession : public std::enable_shared_from_this<HttpSession> {
public:
    static std::shared_ptr<HttpSession> create(asio::ip::tcp::socket socket, ServerParts& parts);
    virtual ~HttpSession() = default;

    /// Serves until the end of the connection, or until a machine took it over.
    virtual Task<> serve() = 0;
    /// Ends the connection at once.
    virtual void drop() = 0;
};

} // namespace zelvo::service
