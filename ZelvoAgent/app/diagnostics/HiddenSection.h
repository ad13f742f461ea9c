#pragma once

#include "app/diagnostics/DiagnosticsSection.h"

#include <boost/signals2/connection.hpp>

#include <cstddef>
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
    struct Row {
        std::string bundleId;
        Button* button;
    };

    void addList();
    void addChoice();
    void showApps();
    void showRows();
    void clearRows();
    void addRow(std::string const& bundleId);
    /// Lets Tab reach the rows before the choice below them.
    void orderTabs();
    /// The place of the row that has the keyboard focus; rows.size() if none has.
    std::size_t focusedRow() const;
    /// Gives the keyboard focus to an application's row, or else to the one that took its place.
    void giveFocus(std::string const& bundleId, std::size_t place);
    void hidePicked();

    HiddenAppsEditor& editor;
    RunningApps& apps;
    std::vector<std::string> shownIds; ///< what the rows were made of
    std::vector<Row> rows;
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
