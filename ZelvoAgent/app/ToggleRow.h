#pragma once

#include <QWidget>

namespace zelvo {

class SwitchButton;

/// A row with a switch; a click anywhere in it toggles the switch. Thread: main.
class ToggleRow : public QWidget {
protected:
    ToggleRow(QString const& name, QString const& note, QWidget* parent);

    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

    SwitchButton* const toggle;

private:
    bool isPressed = false; // A release counts only after a press in this row.
};

} // namespace zelvo
