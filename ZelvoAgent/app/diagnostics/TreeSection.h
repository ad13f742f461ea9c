#pragma once

#include "app/diagnostics/DiagnosticsSection.h"

#include <boost/signals2/connection.hpp>

#include <vector>

class QPlainTextEdit;

namespace zelvo {

class Button;
class Picker;
class RunningApps;
class SwitchRow;
class TreeCheck;

/// Shows the tree of an application as agents get it. Thread: main.
class TreeSection final : public DiagnosticsSection {
public:
    TreeSection(TreeCheck& check, RunningApps& apps, QWidget* parent);

    void refresh() override;

private:
    void addChoice();
    void addButtons();
    void addReport();
    void showApps();

    TreeCheck& check;
    RunningApps& apps;
    Picker* picker;
    SwitchRow* interactiveOnly;
    Button* captureNow;
    QPlainTextEdit* report;
    std::vector<boost::signals2::scoped_connection> following;
};

} // namespace zelvo
