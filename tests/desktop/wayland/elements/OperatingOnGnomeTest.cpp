// Elements of real programs on GNOME without the extension: nothing says where windows are.
#include "confirm/ElementOperator.h"
#include "desktop/harness/WaitFor.h"
#include "desktop/wayland/harness/PrivateGnome.h"
#include "drivers/AccessibilityTree.h"
#include "platform/linux/atspi/AtspiAccessibility.h"
#include "platform/linux/dbus/BusConnection.h"
#include "platform/linux/wayland/ClientSockets.h"
#include "platform/linux/wayland/windows/WaylandWindowList.h"
#include "platform/linux/wayland/windows/WaylandWorkspace.h"
#include "unit/router/RouterHarness.h"

#include <gmock/gmock.h>

namespace zelvo::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using Outcome = ElementOperating::Outcome;

struct Program {
    std::string name;
    std::vector<std::string> command;
};

void PrintTo(Program const& program, std::ostream* out)
{
    *out << program.name;
}

/// The router over the real elements of GNOME; all else is in memory.
class OperatingOnGnome : public RouterHarness, public testing::WithParamInterface<Program> {
protected:
    /// What the agent makes of such a desktop.
    struct Desktop {
        explicit Desktop(OperatingOnGnome& test)
            : bus(test.platform.io.get_executor(), test.platform.time, openSessionBus),
              elements(test.platform.contexts,
                       test.platform.time,
                       bus,
                       std::nullopt,
                       {.from = ReportedFrom::window, .isKnown = [] { return false; }}),
              clients(test.gnome->runtimeFolder() / "wayland-0", ""),
              windows(nullptr, [] { return std::make_shared<DesktopEntryIndex const>(); }),
              workspace(windows, nullptr, amongClients([this] { return elements.activeProcess(); }, clients)),
              list(windows, [] { return MonitorLayout(); })
        {
            test.platform.real = {.workspace = &workspace, .windows = &list, .elements = &elements};
        }

        BusConnection bus;
        AtspiAccessibility elements;
        ClientSockets clients;
        CompositorWindows windows;
        WaylandWorkspace workspace;
        WaylandWindowList list;
    };
    /// What uses it.
    struct Agent {
        explicit Agent(OperatingOnGnome& test)
            : guard(test.platform.contexts.workers,
                    test.hiddenApps,
                    *test.platform.real.workspace,
                    *test.platform.real.windows),
              own(*test.platform.real.windows, test.platform.machineFacts.pid), ownUi(own),
              electron(test.platform.contexts, *test.platform.real.elements),
              tree({.contexts = test.platform.contexts,
                    .clock = test.platform.time,
                    .accessibility = *test.platform.real.elements,
                    .access = test.platform.systemAccess,
                    .workspace = *test.platform.real.workspace,
                    .hiddenApps = test.hiddenApps,
                    .electron = electron,
                    .ownPid = test.platform.machineFacts.pid}),
              operating(test.probe, test.gate)
        {
        }

        HiddenAppGuard guard;
        ZelvoWindows own;
        OwnUiGuard ownUi;
        ElectronAccessibility electron;
        AccessibilityTree tree;
        ElementOperator operating;
    };

    void SetUp() override
    {
        if (auto const missing = PrivateGnome::missing())
            GTEST_SKIP() << *missing;
        RouterHarness::SetUp();
        gnome.emplace(GnomeOptions{
            .monitors = {{.width = 1280, .height = 800}}, .accessibility = true, .pipewire = false});
        gnome->adoptEnvironment();
        // The shell has switched it off again.
        gnome->enableAccessibility();
        // Without a keyboard no window is active.
        pid_t const keyboard = gnome->start({"/usr/bin/python3", ZELVO_KEY_PRESSER, "stay", "42"});
        require("a keyboard", [&] { return said(keyboard).find("ready") != std::string::npos; });
        desktop.emplace(*this);
        agent.emplace(*this);
        platform.systemAccess.granted = {.accessibility = true, .screenRecording = false};
        router = std::make_unique<RpcRouter>(platform.contexts, platform.time, state, services());
        pid = open(GetParam());
    }
    void TearDown() override
    {
        if (gnome)
            RouterHarness::TearDown();
    }

    RpcRouter::Services services()
    {
        return {.screen = capture,
                .drawings = platform.drawingWatches,
                .tree = agent->tree,
                .interfaces = platform.interfaceWatches,
                .input = input,
                .shell = shell,
                .files = files,
                .pasteboard = platform.clipboard,
                .clipboard = clipboard,
                .hiddenApps = hiddenApps,
                .hiddenGuard = agent->guard,
                .probe = probe,
                .confirmations = confirmations,
                .workspace = desktop->workspace,
                .windows = desktop->list,
                .ownUi = agent->ownUi,
                .permissions = [this] { return platform.systemAccess.current(); },
                .recorder = recorder,
                .questionPending = [this]() -> Task<bool> { co_return question; },
                .cursor = cursor,
                .offers = offers,
                .operating = &agent->operating,
                .lacksPlaces = [this] { return desktop->elements.isRelative(); }};
    }

    /// Starts a program and waits until it is in front.
    pid_t open(Program const& program)
    {
        pid_t const started = gnome->start(
            program.command,
            {{"GDK_BACKEND", "wayland"}, {"QT_QPA_PLATFORM", "wayland"}, {"GSK_RENDERER", "cairo"}});
        require(program.name, [&] { return desktop->elements.activeProcess() == started; }, 20s);
        return started;
    }
    std::string said(pid_t program) { return gnome->processes().output(program); }
    bool says(std::string const& words)
    {
        return waitFor([&] { return said(pid).find(words) != std::string::npos; }, 5s);
    }

    json::object tree()
    {
        json::object result;
        auto const isComplete = [&] {
            json::object const reply = call("ui.tree", R"({"interactiveOnly":false})");
            if (!reply.contains("result"))
                return false;
            result = reply.at("result").as_object();
            return find(result, "Show") && find(result, "Name") && find(result, "Send");
        };
        require("the elements", isComplete, 15s);
        return result;
    }
    static json::object const* find(json::object const& tree, std::string const& title)
    {
        for (json::value const& each : tree.at("elements").as_array()) {
            json::object const& element = each.as_object();
            auto const name = read::text(element, "title");
            bool const isLabel = element.at("role") == "AXStaticText";
            if (name == title && !isLabel)
                return &element;
        }
        return nullptr;
    }
    std::string perform(json::object action)
    {
        json::object const params{{"actions", json::array{std::move(action)}}};
        return code(call("actions.perform", writeJson(params)));
    }
    std::string operate(json::object const& tree,
                        std::string const& type,
                        std::string const& title,
                        std::string text = "")
    {
        json::object const* const element = find(tree, title);
        return element ? perform({{"type", type},
                                  {"snapshotId", tree.at("snapshotId")},
                                  {"elementId", element->at("id")},
                                  {"text", text}})
                       : "no " + title;
    }

    /// The name that readers find an element by.
    std::string nameOf(std::string const& title)
    {
        tree();
        UiTreeSnapshot const taken =
            run(platform.io, agent->tree.snapshot(TreeScope::frontmost, true, std::nullopt));
        for (std::size_t at = 0; at < taken.elements.size(); ++at)
            if (taken.elements[at].title == title)
                return taken.names.at(at);
        return {};
    }

    std::optional<PrivateGnome> gnome;
    std::optional<Desktop> desktop;
    std::optional<Agent> agent;
    pid_t pid = 0;
};

TEST_P(OperatingOnGnome, givesTreesWithoutPlaces)
{
    json::object const tree = this->tree();
    EXPECT_EQ(tree.at("framesRelativeTo"), "window");
    json::object const& first = find(tree, "Show")->at("frame").as_object();
    json::object const& second = find(tree, "Send")->at("frame").as_object();
    EXPECT_GE(first.at("x").to_number<double>(), 0);
    EXPECT_GT(first.at("y").to_number<double>(), 0);
    EXPECT_GT(first.at("w").to_number<double>(), 10);
    EXPECT_GT(second.at("y").to_number<double>(), first.at("y").to_number<double>());
    EXPECT_LT(second.at("y").to_number<double>(), 400);
}

TEST_P(OperatingOnGnome, pressesAButton)
{
    EXPECT_EQ(operate(tree(), "click_element", "Show"), "");
    EXPECT_TRUE(says("pressed Show"));
    EXPECT_THAT(confirmations.questions, IsEmpty());
    EXPECT_THAT(platform.posting.posted, IsEmpty());
    EXPECT_THAT(cursor.shown, IsEmpty());
}

TEST_P(OperatingOnGnome, setsAText)
{
    EXPECT_EQ(operate(tree(), "set_value", "Name", "n\u00e9 \u65e5\u672c"), "");
    EXPECT_TRUE(says("text n\u00e9 \u65e5\u672c"));
    EXPECT_EQ(operate(tree(), "set_value", "Name", ""), "");
    EXPECT_EQ(operate(tree(), "set_value", "Show", "no field"), "invalid_request");
    EXPECT_THAT(platform.posting.posted, IsEmpty());
}

TEST_P(OperatingOnGnome, asksBeforeACommittingButton)
{
    confirmations.decision = ConfirmationDecision::denied();
    EXPECT_EQ(operate(tree(), "click_element", "Send"), "denied_by_user");
    EXPECT_THAT(said(pid), Not(HasSubstr("pressed Send")));
    ASSERT_THAT(confirmations.questions, SizeIs(1));

    confirmations.decision = ConfirmationDecision::allowed(false);
    EXPECT_EQ(operate(tree(), "click_element", "Send"), "");
    EXPECT_TRUE(says("pressed Send"));
    EXPECT_THAT(confirmations.questions, SizeIs(2));
}

/// The words of the two buttons change places while the person is asked.
TEST_P(OperatingOnGnome, doesNotPressWhatChangedDuringTheQuestion)
{
    json::object const before = tree();
    NamedElement const swapping{pid, nameOf("Swap")};
    confirmations.onAsk = [&] {
        auto const reader = desktop->elements.reader(pid, 1s);
        auto const element = reader->find(swapping.name);
        ASSERT_TRUE(element);
        EXPECT_EQ(reader->press(*element), ElementDeed::done);
        EXPECT_TRUE(says("pressed Swap"));
    };
    EXPECT_EQ(operate(before, "click_element", "Send"), "snapshot_expired");
    EXPECT_EQ(operate(before, "click_element", "Show"), "snapshot_expired");
    EXPECT_THAT(said(pid), Not(HasSubstr("pressed Send")));
    EXPECT_THAT(said(pid), Not(HasSubstr("pressed Show")));
}

TEST_P(OperatingOnGnome, pointsNowhere)
{
    json::object const frame = find(tree(), "Show")->at("frame").as_object();
    double const x = frame.at("x").to_number<double>() + 5;
    double const y = frame.at("y").to_number<double>() + 5;
    EXPECT_EQ(perform({{"type", "click"}, {"x", x}, {"y", y}}), "machine_unavailable");
    EXPECT_EQ(perform({{"type", "move"}, {"x", x}, {"y", y}}), "machine_unavailable");
    EXPECT_EQ(desktop->elements.reader(pid, 1s)->elementAt({x, y}), std::nullopt);
    EXPECT_THAT(platform.posting.posted, IsEmpty());
}

/// Treats the test program as the agent itself: an agent must not reach its buttons, neither by application
/// name nor by process.
TEST_P(OperatingOnGnome, neverPressesItsOwnButtons)
{
    std::string const name = nameOf("Show");
    ElementOperation operation{.element = {pid, name}};
    operation.expected = run(platform.io, probe.element(operation.element)).value();

    platform.machineFacts.pid = pid;

    EXPECT_EQ(run(platform.io, probe.element(operation.element)), std::nullopt);
    EXPECT_EQ(run(platform.io, agent->operating.operate(operation)), Outcome::stopped);
    platform.machineFacts.pid = 4711;
    EXPECT_EQ(run(platform.io, agent->operating.operate(operation)), Outcome::done);
}

TEST_P(OperatingOnGnome, findsNoElementOfAnotherProcess)
{
    std::string const name = nameOf("Show");
    pid_t const other = open({"another", {"/usr/bin/python3", ZELVO_OPERATED, "3"}});
    EXPECT_EQ(desktop->elements.reader(other, 1s)->find(name), std::nullopt);
    // Nor one of the window behind.
    EXPECT_EQ(desktop->elements.reader(pid, 1s)->find(name), std::nullopt);
    ElementOperation const operation{.element = {pid, name}};
    EXPECT_EQ(run(platform.io, agent->operating.operate(operation)), Outcome::stopped);
}

/// An interpreter may run a hidden application, and these programs have no desktop entries.
TEST_P(OperatingOnGnome, readsNothingOfAnUnknownProgramWhileSomethingIsHidden)
{
    json::object const before = tree();
    run(platform.io, hiddenApps.add("org.acme.secret"));
    EXPECT_EQ(code(call("ui.tree")), "hidden_app_active");
    EXPECT_EQ(operate(before, "click_element", "Show"), "hidden_app_active");
    EXPECT_THAT(said(pid), Not(HasSubstr("pressed Show")));
}

INSTANTIATE_TEST_SUITE_P(Toolkits,
                         OperatingOnGnome,
                         testing::Values(Program{"gtk3", {"/usr/bin/python3", ZELVO_OPERATED, "3"}},
                                         Program{"gtk4", {"/usr/bin/python3", ZELVO_OPERATED, "4"}},
                                         Program{"qt", {ZELVO_QT_OPERATED}}),
                         [](auto const& info) { return info.param.name; });

} // namespace
} // namespace zelvo::test
