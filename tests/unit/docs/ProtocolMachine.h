#pragma once

#include "unit/router/RouterHarness.h"

#include <set>
#include <string>
#include <utility>
#include <vector>

namespace zelvo {

/// The machine that the examples of docs/protocol.md are told of: an editor in front, a file, a text in the
/// clipboard, a calculator that is installed, and the connection "con_7f2a" of the platform "Acme". Made anew
/// for each example.
class ProtocolMachine : public RouterHarness {
public:
    /// All that a request leads to.
    struct Effects {
        json::value reply;
        Duration elapsed{};
        std::vector<FakeShell::Run> runs;
        std::vector<FakeTree::Asked> trees;
        std::vector<std::pair<int, int>> pictures; ///< width and height
        std::vector<PostedEvent> posted;
        std::vector<std::string> shown;
        std::vector<FakeConfirming::Question> questions;
        std::vector<std::string> opened;
        std::vector<std::string> urls;
        std::vector<std::pair<std::string, std::string>> writes;
        std::string clipboard;
        std::vector<QueuedCommandsOffer> offers;
        ComputerAgents agents;
        std::optional<GrantedConnection> connection;
        bool operator==(Effects const&) const = default;

        std::string code() const { return RouterHarness::code(reply.as_object()); }
    };

    static constexpr char const* connectionId = "con_7f2a";

    ProtocolMachine()
    {
        RouterHarness::SetUp();
        state.revoke("c");
        state.grant(
            {.id = connectionId, .platformName = "Acme", .scopes = {allScopes.begin(), allScopes.end()}});
        offers.handler.set([this](QueuedCommandsOffer offer) { offered.push_back(std::move(offer)); });
        setScreen();
        setApplications();
        files.contents["/home/kim/Documents/notes.txt"] = "Milk\n";
        platform.clipboard.content = "Milk";
        shell.result = {.exitCode = 0, .standardOutput = "notes.txt\n", .durationMs = 12};
    }
    ~ProtocolMachine() override { RouterHarness::TearDown(); }
    ProtocolMachine(ProtocolMachine const&) = delete;
    ProtocolMachine& operator=(ProtocolMachine const&) = delete;

    void pause() { state.setPaused(true); }

    /// What a request as it stands on the socket leads to.
    Effects perform(json::value const& request)
    {
        auto frame = parseFrame(writeJson(request));
        if (!frame)
            throw std::runtime_error("this is dropped: " + writeJson(request));
        Instant const begin = platform.time.now();
        std::optional<json::object> reply;
        start(*std::move(frame), reply);
        for (int step = 0; step < 2'000 && !reply; ++step) {
            // The editor draws its text for a moment.
            if (step < 10)
                platform.drawingWatches.draw({0, 80, 1600, 820});
            platform.time.advance(10ms);
            platform.settle();
        }
        // As it comes from the socket, so that numbers are compared as a reader sees them.
        return effects(*parseJson(writeJson(reply.value())), platform.time.now() - begin);
    }
    /// A request from the example's connection.
    Effects perform(std::string const& method, json::object params)
    {
        return perform(json::object{{"id", "req_1"},
                                    {"method", method},
                                    {"connectionId", connectionId},
                                    {"params", std::move(params)}});
    }

private:
    std::vector<QueuedCommandsOffer> offered;

    void TestBody() override {}

    void setScreen()
    {
        platform.screenSource.attached = {
            {.id = 66, .widthPoints = 1600, .heightPoints = 900, .scaleFactor = 1}};
        platform.posting.pointer = {400, 300};
        tree.app = {"org.xfce.mousepad", "Mousepad"};
        tree.elements = {{.id = "e0",
                          .role = "AXButton",
                          .title = "Find",
                          .frame = {812, 40, 64, 32},
                          .actions = {"AXPress"}},
                         {.id = "e1",
                          .role = "AXTextArea",
                          .value = "Milk",
                          .frame = {0, 80, 1600, 820},
                          .focused = true}};
        fakeProbe.hit = ProbedElement{};
        fakeProbe.hit->role = "AXButton";
        fakeProbe.hit->title = "Find";
        WindowEntry window;
        window.ownerPid = 2101;
        window.bounds = DesktopRect{.x = 0, .y = 0, .width = 1600, .height = 900};
        window.owner = {{"org.xfce.mousepad"}};
        window.ownerName = "Mousepad";
        window.title = "notes.txt - Mousepad";
        platform.windowList.list = {{window}};
    }

    void setApplications()
    {
        addApplication("org.xfce.mousepad", "Mousepad");
        addApplication("org.gnome.Calculator", "Calculator");
        platform.desktop.applications = {running("org.xfce.mousepad", "Mousepad", 2101),
                                         running("debian-xterm", "XTerm", 2140)};
        platform.desktop.applications.front().isActive = true;
        front("org.xfce.mousepad", "Mousepad", 2101);
        platform.desktop.onOpen = [this](std::string const& location) {
            ApplicationBundle const bundle = platform.desktop.bundles.at(location);
            front(bundle.identifier, bundle.localizedName, 2200);
        };
    }
    void addApplication(std::string const& identifier, std::string const& name)
    {
        std::string const location = "/apps/" + identifier + ".desktop";
        platform.desktop.locations[identifier] = location;
        platform.desktop.namedLocations[name] = location;
        platform.desktop.bundles[location] = {identifier, name, {{identifier}}};
    }
    static RunningApplication running(std::string identifier, std::string name, std::int32_t pid)
    {
        RunningApplication made{pid, {{std::move(identifier)}}, std::move(name)};
        made.isRegular = true;
        made.location = "/apps/" + made.names.names.front() + ".desktop";
        return made;
    }

    Effects effects(json::value reply, Duration elapsed) const
    {
        Effects all{.reply = std::move(reply),
                    .elapsed = elapsed,
                    .runs = shell.runs,
                    .trees = tree.asked,
                    .pictures = {},
                    .posted = platform.posting.posted,
                    .shown = cursor.shown,
                    .questions = confirmations.questions,
                    .opened = platform.desktop.opened,
                    .urls = platform.desktop.openedUrls,
                    .writes = files.writes,
                    .clipboard = platform.clipboard.content,
                    .offers = offered,
                    .agents = state.liveAgents(),
                    .connection = state.connection(connectionId)};
        for (CaptureRequest const& request : platform.screenSource.requests)
            all.pictures.emplace_back(request.width, request.height);
        return all;
    }
};

} // namespace zelvo
