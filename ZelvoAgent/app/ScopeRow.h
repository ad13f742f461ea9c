#pragma once

#include "wire/AgentScope.h"

#include <QWidget>

#include <functional>

namespace zelvo {

class SwitchButton;

/// One requested right: its name, a note where it reaches far, and a switch. A click anywhere in the row
/// toggles the switch. Thread: main.
class ScopeRow final : public QWidget {
public:
    /// width    points available to the row
    /// onTurned called when the person toggles the switch
    ScopeRow(AgentScope scope, int width, std::function<void(bool)> onTurned, QWidget* parent);

    void setOn(bool on);
    /// Gives the keyboard to the switch. False if the person cannot toggle it.
    bool takeFocus();
    /// Whether a key that toggles would turn the right on.
    bool hasFocusWhileOff() const;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    SwitchButton* button;
    bool isPressed = false; // A release counts only after a press in this row.
};

} // namespace zelvo
