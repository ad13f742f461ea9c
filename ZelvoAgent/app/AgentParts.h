#pragma once

#include "app/AgentRecording.h"
#include "app/AgentRuntime.h"
#include "drivers/ClipboardWatcher.h"
#include "drivers/FileAccess.h"
#include "drivers/FolderAccessStore.h"
#include "gateway/LinkCoordinator.h"
#include "recording/RecordingSettings.h"
#include "state/QueueCoordinator.h"

namespace zelvo {

/// Everything of the agent that is not a window, put together on one machine. Nothing runs before start is
/// called on the members (AppDelegate does that, in its order). Thread: main.
struct AgentParts {
    AgentParts(Contexts contexts,
               Platform& platform,
               ConfirmationPanelMaker makePanel,
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
    PostingGate gate;
    ConfirmationPresenter confirmations;
    QueueOfferInbox offers;
    FileAccess files;
    FolderAccessStore folders;
    AgentRecording recording;
    AgentRuntime runtime;
    QueueCoordinator queue;
    LinkCoordinator links;
};

} // namespace zelvo
