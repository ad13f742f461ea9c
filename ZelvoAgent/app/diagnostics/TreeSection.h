#pragma once

#include "app/AppServices.h"
#include "app/diagnostics/DiagnosticsSection.h"
#include "base/DelayedCall.h"
#include "platform/RunningApplication.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class QPlainTextEdit;

namespace zelvo {

class Button;
class Picker;
class SwitchRow;

/// An application that the person can pick.
struct RunningApp {
    std::int32_t id = 0; ///< of its process
    std::string name;
    std::optional<std::string> bundleId;
    bool operator==(RunningApp const&) const = default;
};

/// The running applications with windows but this program, by name.
std::vector<RunningApp> pickableApps(std::vector<RunningApplication> const& all, std::int32_t ownPid);

/// Shows the tree of an application as agents get it. Thread: main.
class TreeSection final : public DiagnosticsSection {
public:
    TreeSection(AppServices const& services, QWidget* parent);

    void setApps(std::vector<RunningApp> apps);
    /// Called when the person wants the list of applications read again.
    std::function<void()> onRefreshApps;

private:
    void snapshotAfter(int seconds);
    void countDown(int seconds);
    void performSnapshot();
    Task<> perform(std::weak_ptr<int> owner, std::optional<std::int32_t> pid, bool interactive);
    void show(QString const& text);
    void setBusy(bool busy);

    AppServices const& services;
    std::vector<RunningApp> apps;
    bool isSnapshotting = false;
    bool isCounting = false;
    Picker* picker;
    SwitchRow* interactiveOnly;
    Button* captureNow;
    Button* captureIn5;
    QPlainTextEdit* report;
    DelayedCall nextSecond;
    std::shared_ptr<int> alive = std::make_shared<int>(); // Tasks hold it weakly to detect destruction.
};

} // namespace zelvo
