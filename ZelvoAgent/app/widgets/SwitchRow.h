#pragma once

#include "app/ToggleRow.h"

#include <functional>

namespace zelvo {

/// A setting that is on or off: its name, a note, and a switch. Thread: main.
class SwitchRow final : public ToggleRow {
public:
    /// note  says in a line what the switch does; empty for none
    SwitchRow(QString const& name, QString const& note, QWidget* parent);

    /// Connects a turn by the person.
    SwitchRow* onTurned(std::function<void(bool)> call);
    void setOn(bool on);
    bool isOn() const;
    SwitchButton& button() { return *toggle; }
};

} // namespace zelvo
