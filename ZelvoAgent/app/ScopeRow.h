#pragma once

#include "wire/AgentScope.h"

#include <QWidget>

#include <functional>

namespace zelvo {

class SwitchButton;

/// One right that is asked for: its name, a note where the right reaches far, and a switch. A click anywhere
/// in the row turns the switch. Thread: main.
class ScopeRow final : public QWidget {
public:
    /// width    points that the row may take
    /// onTurned called when the person turns the switch
    ScopeRow(AgentScope scope, int width, std::function<void(bool)> onTurned, QWidget* parent);

    void setOn(bool on);

protected:
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    SwitchButton* button;
};

} // namespace zelvo
