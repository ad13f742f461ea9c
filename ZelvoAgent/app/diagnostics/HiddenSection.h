#pragma once

#include "app/diagnostics/DiagnosticsSection.h"

#include <boost/signals2/connection.hpp>

#include <string>
#include <vector>

class QVBoxLayout;

namespace zelvo {

class Button;
class HiddenAppsEditor;
class Picker;
class RunningApps;

/// The applications that are hidden from agents, by identifier, and the way to hide one that runs. Thread:
/// main.
class HiddenSection final : public DiagnosticsSection {
public:
    HiddenSection(HiddenAppsEditor& editor, RunningApps& apps, QWidget* parent);

    void refresh() override;

private:
    void addList();
    void addChoice();
    void showApps();
    void showRows();
    void clearRows();
    void addRow(std::string const& bundleId);

    HiddenAppsEditor& editor;
    RunningApps& apps;
    std::vector<std::string> shownIds; ///< what the rows were made of
    QVBoxLayout* list;
    QWidget* box;
    TextLabel* empty;
    TextLabel* check;
    TextLabel* warning;
    Picker* picker;
    Button* hideButton;
    std::vector<boost::signals2::scoped_connection> following;
};

} // namespace zelvo
