#pragma once

#include "ZelvoGateway/mcp/tools/MachineCall.h"

#include <map>
#include <string>
#include <vector>

namespace zelvo::service {

/// The mouse buttons that the actions of a call hold down. Those that are still held at its end, because the
/// call was cancelled, are released by a separate task.
/// Thread: the server's.
class HeldButtons {
public:
    explicit HeldButtons(MachineCallPtr call) : call(std::move(call)) {}
    HeldButtons(HeldButtons const&) = delete;
    HeldButtons& operator=(HeldButtons const&) = delete;
    ~HeldButtons();

    /// Takes in a "mouse_down" before it is sent, because its effect is unknown until it is answered. False
    /// if its button is held already.
    bool press(json::object const& mouseDown);
    /// The button is not held, or no longer.
    void forget(std::string const& button) { releases.erase(button); }

    /// Releases them where they were pressed. Gives a line for each that may still be held.
    Task<std::vector<std::string>> release();

private:
    MachineCallPtr call;
    std::map<std::string, json::object> releases; // The actions that release them, by button.
};

} // namespace zelvo::service
