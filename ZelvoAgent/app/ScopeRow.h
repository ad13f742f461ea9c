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

protected:
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    SwitchButton* button;
};

} // namespace zelvo
