#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "confirm/Confirming.h"
#include "confirm/ElementProbing.h"
#include "drivers/ClipboardWatcher.h"
#include "drivers/FileGate.h"
#include "drivers/HiddenAppGuard.h"
#include "drivers/InputDriving.h"
#include "drivers/OwnUiGuard.h"
#include "drivers/ScreenCapture.h"
#include "drivers/Shell.h"
#include "drivers/TreeCapturing.h"
#include "platform/Pasteboard.h"
#include "platform/WindowList.h"
#include "platform/Workspace.h"
#include "recording/SessionRecording.h"
#include "router/AgentCursorPresenting.h"
#include "router/SnapshotStore.h"
#include "state/AgentState.h"
#include "state/QueueOfferInbox.h"
#include "wire/AgentError.h"
#include "wire/AgentMode.h"
#include "wire/Permissions.h"
#include "wire/RpcFrame.h"
#include "wire/RpcReply.h"

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo {

/// The one place through which every command from the gateway passes: it is checked, carried out, and
/// whatever happened becomes the reply. Thread: any; a strand of its own holds the state. Commands interleave
/// where they wait.
class RpcRouter {
public:
    struct Members {
        ScreenCapture& screen;
        TreeCapturing& tree;
        InputDriving& input;
        Shell& shell;
        FileGate& files;
        Pasteboard& pasteboard;
        ClipboardWatcher& clipboard;
        HiddenAppsStore& hiddenApps;
        HiddenAppGuard& hiddenGuard;
        ElementProbing& probe;
        Confirming& confirmations;
        Workspace& workspace;
        WindowList& windows;
        OwnUiGuard& ownUi;
        std::function<Permissions()> permissions;
        SessionRecording& recorder;
        std::function<Task<bool>()> questionPending; ///< is a question to the person open?
        AgentCursorPresenting& cursor;
        QueueOfferInbox const& offers;
        AgentMode mode = AgentMode::connected;
    };

    RpcRouter(Contexts const& contexts, Clock& clock, AgentState& state, Members members);

    /// Never fails: every failure becomes an error reply.
    Task<RpcReply> handle(RpcFrame frame);

    /// Every method that is served, in alphabetical order.
    static std::vector<std::string_view> methodNames();

private:
    using Handler = Task<json::value> (RpcRouter::*)(RpcFrame);
    static std::map<std::string_view, Handler> const& methods();
    static bool isServiceMethod(std::string_view method);

    Task<RpcReply> handleOnStrand(RpcFrame frame);
    Task<> preflight(std::string method, std::optional<std::string> connectionId);
    Task<json::value> dispatch(RpcFrame frame);
    RpcReply failureReply(std::string id, AgentError error) const;
    std::optional<std::map<std::string, std::string>> details(AgentError error) const;
    /// The agent's name as the log keeps it: its beginning, since an agent may give a name of any length.
    static std::optional<std::string> loggedAgentName(std::optional<std::string> const& name);
    Task<> logLooked(std::optional<std::string> connectionId, std::optional<std::string> agentName);
    Task<std::optional<GrantedConnection>> connection(std::optional<std::string> id);

    // RouterObservation.cpp
    Task<json::value> displayInfo(RpcFrame frame);
    Task<json::value> screenshot(RpcFrame frame);
    Task<CapturedImage> capture(ScreenshotOptions options);
    Task<json::value> cursorPosition(RpcFrame frame);
    Task<json::value> handleScreenshot(RpcFrame frame);
    Task<json::value> uiTree(RpcFrame frame);
    Task<json::value> handleUiTree(RpcFrame frame);
    static json::object encode(UiElementInfo const& element);

    // RouterActions.cpp
    Task<json::value> handleActions(RpcFrame frame);
    struct Performer;
    Task<> performBatch(std::vector<InputAction> actions,
                        std::string expected,
                        std::optional<GrantedConnection> connection);
    Task<> assertMayAct(InputAction action, std::string expected, std::size_t index, Duration maxWait);
    Task<> wait(std::int64_t ms);
    Task<bool> isInFront(std::string expected, Duration atMost);
    Task<DetailedAgentError> notFrontmost(std::string expected, std::optional<std::size_t> failedIndex);
    Task<> checkHiddenApps(InputAction action);
    Task<> execute(InputAction action);
    Task<> logActions(GrantedConnection connection,
                      std::optional<std::string> agentName,
                      std::vector<InputAction> actions);

    // RouterConfirmations.cpp
    /// Each tells whether a person was asked, so that time has passed and all may be different.
    Task<bool> confirm(InputAction action, GrantedConnection connection);
    Task<bool> confirmClick(DesktopPoint at, GrantedConnection connection);
    Task<bool> confirmKeys(std::vector<std::string> keys, GrantedConnection connection);
    Task<bool> confirmChord(std::vector<std::string> keys,
                            std::optional<FrontmostAppInfo> front,
                            GrantedConnection connection);
    Task<bool> ask(ConfirmationSubject subject, GrantedConnection connection, std::int64_t timeoutMs);
    /// Asks where this machine is a person's own and the connection's policy wants it.
    Task<> askFirst(ConfirmationSubject subject,
                    std::optional<GrantedConnection> connection,
                    std::int64_t timeoutMs);
    /// How long a caller lets the person think about a question.
    static std::int64_t confirmationTimeout(json::object const& params);
    static constexpr std::int64_t confirmationTimeoutMs = 60'000;

    // RouterElements.cpp
    UiElementInfo element(std::string const& snapshotId, std::string const& elementId) const;
    Task<> clickElement(InputAction::ClickElement action);
    Task<> setValue(InputAction::SetValue action);
    Task<> clickShown(DesktopPoint at);
    Task<> typeShown(std::string text);
    Task<> assertFromFrontmostApp(UiTreeSnapshot::App app);
    static bool sameElement(ProbedElement const& probed, UiElementInfo const& info);

    // RouterShell.cpp
    Task<json::value> handleShell(RpcFrame frame);
    void logShell(GrantedConnection const& connection,
                  std::optional<std::string> const& agentName,
                  std::string const& command,
                  ShellRunResult const& result);

    // RouterTransfers.cpp
    Task<json::value> handleFileUpload(RpcFrame frame);
    Task<json::value> filesDownload(RpcFrame frame);
    Task<json::value> handleClipboardGet(RpcFrame frame);
    Task<json::value> clipboardSet(RpcFrame frame);
    Task<> assertClipboardMayBeSeen();

    // RouterApplications.cpp
    Task<json::value> appsOpen(RpcFrame frame);
    Task<json::value> appsActivate(RpcFrame frame);
    Task<json::value> handleOpenApp(RpcFrame frame, bool activateOnly);
    Task<json::value> handleAppsList(RpcFrame frame);
    Task<json::value> handleWindowsList(RpcFrame frame);
    Task<json::value> handleOpenUrl(RpcFrame frame);

    // RouterSystem.cpp
    Task<json::value> permissionsGet(RpcFrame frame);
    Task<json::value> connectionGrant(RpcFrame frame);
    Task<json::value> connectionRevoke(RpcFrame frame);
    Task<json::value> agentsUpdate(RpcFrame frame);
    Task<json::value> connectionsNames(RpcFrame frame);
    Task<json::value> queueOffer(RpcFrame frame);

    Contexts contexts;
    Clock& clock;
    AgentState& state;
    Members const members;
    Executor const strand;
    bool controlBusy = false; // strand; a batch of actions runs
    SnapshotStore snapshots;  // strand
};

} // namespace zelvo
