#pragma once

#include "base/LockedBox.h"
#include "base/Task.h"
#include "drivers/HiddenAppsStore.h"
#include "drivers/ScreenCapture.h"
#include "platform/InformationDictionary.h"
#include "platform/MachineFacts.h"
#include "platform/ScreenSource.h"
#include "platform/SystemAccess.h"
#include "platform/UserDefaults.h"
#include "state/StateMirror.h"
#include "wire/AgentMode.h"
#include "wire/Json.h"

#include <functional>
#include <optional>
#include <string>

namespace zelvo {

/// Builds the record that reports this machine and its state to the gateway.
/// Thread: any, except refreshDisplay(). Never waits for the main thread.
class HeartbeatBuilder {
public:
    struct Services {
        InformationDictionary& information;
        MachineFacts& facts;
        SystemAccess& access;
        ScreenSource& screen;
        std::function<StateMirror()> state;         ///< any thread
        std::function<std::string()> recordingMode; ///< wire text; any thread
    };

    explicit HeartbeatBuilder(Services services);

    /// The record; at present never `nullopt`.
    Task<std::optional<json::object>> current();
    /// Reads the first screen again. Thread: main.
    void refreshDisplay();

    LockedBox<HiddenAppsStore*> hiddenApps{nullptr};
    LockedBox<AgentMode> mode{AgentMode::connected};

    /// `cloud` if "ZelvoMode" is "cloud", otherwise `connected`.
    static AgentMode configuredMode(UserDefaults& defaults);
    /// "0.0.0" if the packaging does not name a version.
    std::string appVersion() const;
    /// At most 128 characters, without control characters; "Mac" if nothing remains.
    std::string computerName() const;
    /// The operating system's major.minor.patch.
    std::string macosVersion() const;

private:
    Task<std::int64_t> hiddenAppCount() const;

    Services services;
    LockedBox<std::optional<DisplayGeometry>> displayBox;
};

} // namespace zelvo
