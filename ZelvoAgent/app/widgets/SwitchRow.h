#pragma once

#include <QWidget>

#include <functional>

namespace zelvo {

class SwitchButton;

/// A setting that is on or off: its name, a note, and a switch. A click anywhere in the row turns it. Thread:
/// main.
class SwitchRow final : public QWidget {
public:
    /// note  says in a line what the switch does; empty for none
    SwitchRow(QString const& name, QString const& note, QWidget* parent);

    /// Connects a turn by the person.
    SwitchRow* onTurned(std::function<void(bool)> call);
    void setOn(bool on);
    bool isOn() const;
    SwitchButton& button() { return *toggle; }

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    SwitchButton* toggle;
    bool isPressed = false; // A release counts only after a press in this row.
};

} // namespace zelvo
