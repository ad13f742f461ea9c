#pragma once

#include "app/AppServices.h"
#include "app/diagnostics/DiagnosticsSection.h"
#include "app/diagnostics/TreeSection.h"

#include <memory>
#include <string>
#include <vector>

class QVBoxLayout;

namespace zelvo {

class Button;
class Picker;

/// The applications that are hidden from agents, by identifier, and the way to hide one that runs. Thread:
/// main.
class HiddenSection final : public DiagnosticsSection {
public:
    HiddenSection(AppServices const& services, QWidget* parent);

    void setApps(std::vector<RunningApp> apps);
    /// Reads the stored list again.
    void refreshHidden();

private:
    void show(std::vector<std::string> const& bundleIds);
    void hideSelected();
    void set(std::string bundleId, bool hides);

    AppServices const& services;
    std::vector<RunningApp> apps; ///< those with an identifier
    QVBoxLayout* list;
    QWidget* box;
    TextLabel* empty;
    TextLabel* check;
    TextLabel* warning;
    Picker* picker;
    Button* hideButton;
    std::shared_ptr<int> alive = std::make_shared<int>(); // Tasks hold it weakly to detect destruction.
};

} // namespace zelvo
