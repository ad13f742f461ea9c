#pragma once

#include "ZelvoGateway/machines/ConnectedMachine.h"

#include <functional>
#include <string>
#include <vector>

namespace zelvo::service {

/// A machine without a socket. Thread: one at a time.
class FakeConnectedMachine final : public ConnectedMachine {
public:
    explicit FakeConnectedMachine(std::string id) : id(std::move(id)) {}

    Presence present;                ///< what a test sets
    std::vector<json::object> calls; ///< the frames that came
    /// The reply's "result" or "error" for a frame; may throw Failure.
    std::function<json::object(json::object const& frame)> answer = [](json::object const&) {
        return json::object{{"result", json::object{{"ok", true}}}};
    };

    std::string const& machineId() const override { return id; }
    Presence const& presence() const override { return present; }
    Task<MachineMessage> call(std::string requestId, std::string text, Duration) override
    {
        calls.push_back(parseJson(text)->as_object());
        json::object reply = answer(calls.back());
        reply["id"] = requestId;
        co_return MachineMessage{.value = std::move(reply), .bytes = text.size()};
    }

private:
    std::string id;
};

} // namespace zelvo::service
