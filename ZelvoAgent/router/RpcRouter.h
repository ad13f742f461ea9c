#pragma once

#include "base/Contexts.h"
#include "router/HandlerTable.h"
#include "wire/AgentError.h"
#include "wire/AgentMode.h"
#include "wire/Permissions.h"
#include "wire/RpcReply.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace zelvo {

class AgentCursorPresenting;
class AgentState;
class ClipboardWatcher;
class Clock;
class Confirming;
class DrawingWatches;
class ElementOperating;
class ElementProbing;
class FileGate;
class HiddenAppGuard;
class HiddenAppsStore;
class InputDriving;
class InterfaceWatches;
class KeyboardLayout;
class OwnUiGuard;
class Pasteboard;
struct QueueOfferInbox;
class ScreenCapture;
class SessionRecording;
class Shell;
class TreeCapturing;
class WindowList;
class Workspace;

/// Every command from the gateway passes through here: it is checked, carried out by a family of handlers,
/// and whatever happened becomes the reply. Thread: any; a strand holds the state of all families. Commands
/// interleave where they wait.
class RpcRouter {
public:
    struct Services {
        ScreenCapture& screen;
        DrawingWatches& drawings;
        TreeCapturing& tree;
        InterfaceWatches& interfaces;
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
        std::function<Task<>()> beginAction = {}; ///< called before the checks of each input action
        KeyboardLayout* layout = nullptr;         ///< null: keys are judged by their names alone
        std::function<bool()> isStrict = {};      ///< whether the strict guard is on; empty: never
        ElementOperating* operating = nullptr;    ///< null: elements without places are not operated
        /// Whether elements have no places now: then they may be read without pictures. Empty: never.
        std::function<bool()> lacksPlaces = {};
    };

    RpcRouter(Contexts const& contexts, Clock& clock, AgentState& state, Services services);
    RpcRouter(RpcRouter const&) = delete;
    RpcRouter& operator=(RpcRouter const&) = delete;
    ~RpcRouter();

    /// Never fails: every failure becomes an error reply.
    Task<RpcReply> handle(RpcFrame frame);

private:
    struct Families;

    Task<RpcReply> handleOnStrand(RpcFrame frame);
    Task<Admission> preflight(RpcFrame frame);
    /// Whether the system lets the agent do this.
    bool isPermitted(std::string_view method, std::optional<AgentScope> scope) const;
    Task<json::value> dispatch(Admission admission);
    std::optional<std::map<std::string, std::string>> details(AgentError error) const;

    Contexts contexts;
    AgentState& state;
    std::function<Permissions()> permissions;
    std::function<bool()> lacksPlaces;
    AgentMode mode;
    Executor strand;
    std::unique_ptr<Families> families;
    HandlerTable handlers;
};

} // namespace zelvo
