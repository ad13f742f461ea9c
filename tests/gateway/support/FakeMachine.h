#pragma once

#include "base/Task.h"
#include "wire/Json.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace zelvo::service {

/// The thread of any number of fake machines.
class MachineThread {
public:
    MachineThread();
    MachineThread(MachineThread const&) = delete;
    MachineThread& operator=(MachineThread const&) = delete;
    ~MachineThread();
    asio::io_context io;

private:
    asio::executor_work_guard<asio::io_context::executor_type> work;
    std::thread thread;
};

/// A handler that answers every frame with {"ok": true}.
std::optional<json::object> answerOk(json::object const& frame);
json::object resultOf(json::value value);
json::object errorOf(std::string const& code, std::string const& message);

/// The other end of a gateway's socket: connects as an agent does and answers frames as the test wants.
/// Thread: any.
class FakeMachine {
public:
    /// The reply's "result" or "error" for a frame; nullopt leaves it unanswered.
    using Handler = std::function<std::optional<json::object>(json::object const& frame)>;

    struct Options {
        std::string version = "0.1.0";
        std::vector<std::pair<std::string, std::string>> headers = {};
        std::string tlsName = {};   ///< that the gateway's certificate must have; empty for plain TCP
        bool reads = true;          ///< false leaves the socket unread, pings included
        Handler handler = answerOk; ///< for the frames that arrive before onFrame()
    };

    FakeMachine(MachineThread& thread, std::uint16_t port, std::string token);
    FakeMachine(MachineThread& thread, std::uint16_t port, std::string token, Options options);
    FakeMachine(FakeMachine const&) = delete;
    FakeMachine& operator=(FakeMachine const&) = delete;
    /// Drops the socket.
    ~FakeMachine();

    /// Waits for the answer to the upgrade: 101 if the machine is connected, 0 if there is none.
    int status();
    void onFrame(Handler handler);
    void sendText(std::string text);
    void sendBinary(std::string bytes);
    /// Sends these bytes as text, then as bytes, without a copy.
    void sendBoth(std::shared_ptr<std::string const> bytes);
    void heartbeat(std::string const& computerName = "box",
                   bool paused = false,
                   std::string const& availability = "ready");
    /// A heartbeat that reports these connections and no others.
    void heartbeatWith(std::vector<std::string> const& connections);
    void sendEvent(std::string const& event, json::object data, std::string const& connectionId = {});
    void drop();
    /// Waits for the end of the socket; returns its close code, 0 if there was none.
    int closeCode();
    /// Every frame so far.
    std::vector<json::object> frames() const;
    /// Those of one method.
    std::vector<json::object> framesOf(std::string const& method) const;
    int pings() const;

    struct State;

private:
    std::shared_ptr<State> state;
};

} // namespace zelvo::service
