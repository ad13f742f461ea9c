#pragma once

#include <string>

namespace zelvo::service {

/// WebSocket close codes for machines.
namespace CloseCode {
constexpr int serviceRestart = 1012;
constexpr int replaced = 4409;
constexpr int tokenRejected = 4401;
} // namespace CloseCode

/// The wire to a machine, as its session uses it.
/// Thread: the server's.
/// Made by: MachineSocket.
class MachineLink {
public:
    virtual ~MachineLink() = default;
    /// Messages are sent in the order of the calls.
    virtual void send(std::string text) = 0;
    /// Ends the link with a WebSocket close code and a reason.
    virtual void close(int code, std::string reason) = 0;
};

} // namespace zelvo::service
