#pragma once

#include "app/ToggleRow.h"
#include "wire/AgentScope.h"

#include <functional>

namespace zelvo {

/// One requested right: its name, a note where it reaches far, and a switch. Thread: main.
class ScopeRow final : public ToggleRow {
public:
    /// width    points available to the row
    /// onTurned called when the person toggles the switch
    ScopeRow(AgentScope scope, int width, std::function<void(bool)> onTurned, QWidget* parent);

    void setOn(bool on);
    /// Gives the keyboard to the switch. False if the person cannot toggle it.
    bool takeFocus();
    /// Whether a key that toggles would turn the right on.
    bool hasFocusWhileOff() const;
};

} // namespace zelvo
