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

/// Puts together the record that tells the gateway what this machine is and how it stands.
/// Thread: any, except refreshDisplay(). Never touches the main thread.
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

    /// The record; at present it is always there.
    Task<std::optional<json::object>> current();
    /// Reads the first screen anew. Thread: main.
    void refreshDisplay();

    LockedBox<HiddenAppsStore*> hiddenApps{nullptr};
    LockedBox<AgentMode> mode{AgentMode::connected};

    /// "cloud" under "ZelvoMode" gives cloud, anything else connected.
    static AgentMode configuredMode(UserDefaults& defaults);
    /// "0.0.0" when the program's packaging does not say.
    std::string appVersion() const;
    /// At most 128 characters, without control characters; "Mac" when nothing is left.
    std::string computerName() const;
    /// The operating system's major.minor.patch.
    std::string macosVersion() const;

private:
    Task<std::int64_t> hiddenAppCount() const;
    json::value display() const;

    Services services;
    LockedBox<std::optional<DisplayGeometry>> displayBox;
};

} // namespace zelvo
