#pragma once

#include "app/AgentRecording.h"
#include "app/AgentRuntime.h"
#include "confirm/ConfirmationPresenter.h"
#include "confirm/ElementOperator.h"
#include "confirm/ElementProbe.h"
#include "confirm/ReleasePlace.h"
#include "drivers/AccessibilityTree.h"
#include "drivers/ClipboardWatcher.h"
#include "drivers/ElectronAccessibility.h"
#include "drivers/FileAccess.h"
#include "drivers/FolderAccessStore.h"
#include "drivers/FrontWatch.h"
#include "drivers/HiddenAppGuard.h"
#include "drivers/HiddenAppsStore.h"
#include "drivers/InputDriver.h"
#include "drivers/OwnUiGuard.h"
#include "drivers/PostingGate.h"
#include "drivers/ScreenCapture.h"
#include "drivers/ShellRunner.h"
#include "gateway/LinkCoordinator.h"
#include "overlays/AgentCursorOverlay.h"
#include "recording/RecordingSettings.h"
#include "router/RpcRouter.h"
#include "state/QueueCoordinator.h"
#include "state/QueueOfferInbox.h"

#include <functional>
#include <memory>

namespace zelvo {

/// Everything of the agent that is not a window, put together on one machine. Nothing runs before start is
/// called on the members (AppDelegate does that, in its order). Thread: main.
struct AgentParts {
    AgentParts(Contexts contexts,
               Platform& platform,
               ConfirmationPanelMaker makePanel,
               CursorPanelMaker makeCursorPanel,
               std::function<double()> jitter = GatewayClient::randomJitter);
    AgentParts(AgentParts const&) = delete;
    AgentParts& operator=(AgentParts const&) = delete;

    HiddenAppsStore hiddenApps;
    ClipboardWatcher clipboard;
    Keychain keychain;
    RecordingSettings recordingSettings;
    HeartbeatBuilder heartbeat;
    AgentState state;
    ZelvoWindows ownWindows;
    FrontWatch front;
    PostingGate gate;
    ConfirmationPresenter confirmations;
    QueueOfferInbox offers;
    FileAccess files;
    FolderAccessStore folders;
    AgentRecording recording;
    ScreenCapture screen;
    ElectronAccessibility electron;
    AccessibilityTree tree;
    InputDriver input;
    ShellRunner shell;
    HiddenAppGuard hiddenGuard;
    OwnUiGuard ownUi;
    ElementProbe probe;
    ElementOperator elementOperator;
    ReleasePlace releasePlace;
    AgentCursorOverlay cursor;
    AgentRuntime runtime;
    QueueCoordinator queue;
    LinkCoordinator links;

private:
    std::unique_ptr<RpcRouter> makeRouter(Contexts const& contexts, Platform& platform);
};

} // namespace zelvo
