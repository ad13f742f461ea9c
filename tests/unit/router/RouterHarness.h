#pragma once

#include "confirm/ElementProbe.h"
#include "drivers/ClipboardWatcher.h"
#include "drivers/HiddenAppGuard.h"
#include "drivers/HiddenAppsStore.h"
#include "drivers/InputDriver.h"
#include "drivers/OwnUiGuard.h"
#include "drivers/PostingGate.h"
#include "drivers/ScreenCapture.h"
#include "fakes/FakeConfirming.h"
#include "fakes/FakeFiles.h"
#include "fakes/FakeProbe.h"
#include "fakes/FakeShell.h"
#include "fakes/FakeTree.h"
#include "recording/SessionRecording.h"
#include "router/AgentCursorPresenting.h"
#include "router/RpcRouter.h"
#include "state/AgentState.h"
#include "state/QueueOfferInbox.h"
#include "unit/docs/JsonSchemas.h"
#include "unit/state/StateFixture.h"

#include <gtest/gtest.h>

namespace zelvo {

/// Tells what the visible cursor was asked to show, in one list.
class RecordingCursor final : public AgentCursorPresenting {
public:
    std::vector<std::string> shown;

    Task<> approach(DesktopPoint point) override
    {
        shown.push_back("approach " + text(point));
        co_return;
    }
    void clicked(DesktopPoint at, std::int64_t count) override
    {
        shown.push_back("clicked " + text(at) + " x" + std::to_string(count));
    }
    void dragged(DesktopPoint from, DesktopPoint to, std::int64_t) override
    {
        shown.push_back("dragged " + text(from) + " " + text(to));
    }
    void scrolled(DesktopPoint at) override { shown.push_back("scrolled " + text(at)); }
    void typed(std::size_t characters) override { shown.push_back("typed " + std::to_string(characters)); }
    void pressed(std::vector<std::string> const& keys) override { shown.push_back("pressed " + keys.back()); }

private:
    static std::string text(DesktopPoint point)
    {
        return std::to_string(static_cast<int>(point.x)) + "," + std::to_string(static_cast<int>(point.y));
    }
};

class RecordingRecorder final : public SessionRecording {
public:
    std::vector<std::string> told;
    Task<> agentActed(std::optional<std::string> connectionId, std::string platformName) override
    {
        told.push_back("acted " + connectionId.value_or("-") + " " + platformName);
        co_return;
    }
    Task<> agentLooked() override
    {
        told.emplace_back("looked");
        co_return;
    }
    bool hasOpenFile() const override { return false; }
    Task<> finishNow(bool) override { co_return; }
    Task<> untilClosed() override { co_return; }
};

/// The router on a machine in memory, with one granted connection "c" of the platform "Acme" that holds every
/// scope.
class RouterHarness : public StateFixture {
protected:
    HiddenAppsStore hiddenApps{platform.contexts.agent, platform.settings};
    ScreenCapture capture{platform.contexts, platform.screenSource, hiddenApps};
    FakeTree tree{platform.time};
    PostingGate gate{platform.posting, platform.contexts.workers, [this] { return state.isPaused(); },
                     [] { return std::vector<DesktopRect>(); }};
    InputDriver input{gate, platform.time};
    HiddenAppGuard hiddenGuard{platform.contexts.workers, hiddenApps, platform.desktop, platform.windowList};
    ZelvoWindows ownWindows{platform.windowList, platform.machineFacts.pid};
    OwnUiGuard ownUi{ownWindows};
    ElementProbe probe{platform.contexts.workers, platform, hiddenApps};
    FakeProbe fakeProbe{probe};
    FakeConfirming confirmations;
    FakeShell shell;
    FakeFiles files;
    ClipboardWatcher clipboard{platform.contexts, platform.time, platform.clipboard, platform.desktop};
    RecordingRecorder recorder;
    RecordingCursor cursor;
    QueueOfferInbox offers;
    bool question = false;
    AgentMode mode = AgentMode::connected;
    std::unique_ptr<RpcRouter> router;

    void SetUp() override
    {
        state.grant({.id = "c", .platformName = "Acme", .scopes = {allScopes.begin(), allScopes.end()}});
        makeRouter(AgentMode::connected);
    }

    /// Frames that still wait are taken apart while what they use stands.
    void TearDown() override
    {
        platform.time.dropSleepers();
        platform.settle();
    }

    void makeRouter(AgentMode newMode, ElementOperating* operating = nullptr)
    {
        RpcRouter::Services services{
            .screen = capture,
            .drawings = platform.drawingWatches,
            .tree = tree,
            .interfaces = platform.interfaceWatches,
            .input = input,
            .shell = shell,
            .files = files,
            .pasteboard = platform.clipboard,
            .clipboard = clipboard,
            .hiddenApps = hiddenApps,
            .hiddenGuard = hiddenGuard,
            .probe = fakeProbe,
            .confirmations = confirmations,
            .workspace = platform.desktop,
            .windows = platform.windowList,
            .ownUi = ownUi,
            .permissions = [this] { return platform.systemAccess.current(); },
            .recorder = recorder,
            .questionPending = [this]() -> Task<bool> { co_return question; },
            .cursor = cursor,
            .offers = offers,
            .mode = newMode,
            .beginAction = [this] { return gate.beginAction(); },
            .layout = &platform.layout,
            .isStrict = [this] { return platform.settings.boolean("zelvo.strictGuard").value_or(false); },
            .operating = operating,
            .lacksPlaces = [this] { return tree.isRelative; },
        };
        router = std::make_unique<RpcRouter>(platform.contexts, platform.time, state, std::move(services));
    }

    static RpcFrame
    frame(std::string method, std::string const& params = "{}", std::optional<std::string> connection = "c")
    {
        RpcFrame made;
        made.id = "7";
        made.method = std::move(method);
        made.connectionId = std::move(connection);
        made.params = parseJson(params)->as_object();
        return made;
    }

    /// The reply to a frame that needs no time.
    json::object call(RpcFrame request)
    {
        std::string const method = request.method;
        json::object reply = run(platform.io, router->handle(std::move(request))).payload;
        expectFitsSchema(method, reply);
        return reply;
    }
    json::object
    call(std::string method, std::string const& params = "{}", std::optional<std::string> connection = "c")
    {
        return call(frame(std::move(method), params, std::move(connection)));
    }
    /// Starts a frame that needs time; the reply is there when `reply` is not empty.
    void start(RpcFrame request, std::optional<json::object>& reply)
    {
        auto const take = [&reply, method = request.method](std::exception_ptr, RpcReply result) {
            expectFitsSchema(method, result.payload);
            reply = std::move(result.payload);
        };
        asio::co_spawn(platform.io, router->handle(std::move(request)), take);
        platform.settle();
    }

    /// Every reply is one that docs/schema tells of.
    static void expectFitsSchema(std::string const& method, json::object const& reply)
    {
        JsonSchemas const& schemas = JsonSchemas::ofProtocol();
        EXPECT_EQ(schemas.faults("frame.json#/$defs/reply", reply), std::vector<std::string>()) << method;
        json::value const* const result = reply.if_contains("result");
        if (std::string const reference = schemas.definition(method + ".result"); result)
            EXPECT_EQ(schemas.faults(reference, *result), std::vector<std::string>()) << method;
    }
    static std::string code(json::object const& reply)
    {
        json::object const* const error = read::object(reply, "error");
        return error ? read::text(*error, "code").value_or("?") : "";
    }
    static json::object details(json::object const& reply)
    {
        return reply.at("error").as_object().at("details").as_object();
    }
    /// A window of this program itself.
    WindowEntry ownWindow(DesktopRect bounds) const
    {
        WindowEntry entry;
        entry.ownerPid = platform.machineFacts.pid;
        entry.layer = 8;
        entry.bounds = bounds;
        entry.owner = {{"dev.zelvo.agent"}};
        return entry;
    }
    void front(std::string bundleId, std::string name, std::int32_t pid = 100)
    {
        platform.desktop.front = RunningApplication{pid, {{std::move(bundleId)}}, std::move(name)};
    }
};

} // namespace zelvo
