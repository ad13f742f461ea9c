#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "unit/system/TemporaryFolder.h"

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace zelvo::service {

/// A server on a loopback address that answers requests as a test says, to show what a faulty store does.
/// Thread: any.
class ScriptedStore {
public:
    struct Request {
        std::string method;
        std::string target;
        std::map<std::string, std::string> headers; ///< names in lower case
        std::string body;
    };
    /// Returns the bytes to send. Without "Content-Length" in them, the connection then ends.
    using Script = std::function<std::string(Request const& request)>;

    explicit ScriptedStore(Script script);
    ScriptedStore(ScriptedStore const&) = delete;
    ScriptedStore& operator=(ScriptedStore const&) = delete;
    ~ScriptedStore();

    static std::string answer(int status, std::string const& body = {}, std::string const& headers = {});
    static std::string error(int status, std::string const& code, std::string const& more = {});
    /// The bytes are "hang up": the connection stays open without an answer until the end of the test.
    static constexpr char const* silence = "hang up";

    S3Settings place() const;
    std::vector<Request> requests() const;
    std::size_t count(std::string const& method) const;

private:
    void acceptAll();
    void serve(int socket);
    bool readRequest(int socket, std::string& rest, Request& request) const;

    TemporaryFolder folder;
    Script const script;
    int listening = -1;
    std::uint16_t port = 0;
    mutable std::mutex lock;
    std::vector<Request> all;         // lock
    std::vector<int> sockets;         // lock
    std::vector<std::thread> threads; // lock
    std::thread accepting;
};

} // namespace zelvo::service
