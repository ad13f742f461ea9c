#include "platform/linux/wayland/windows/WaylandWorkspace.h"

#include "desktop/wayland/windows/WindowsFixture.h"
#include "fakes/FakeClientList.h"
#include "fakes/ManualClock.h"
#include "platform/linux/dbus/BusConnection.h"
#include "platform/linux/wayland/windows/WaylandApplicationWindows.h"
#include "unit/system/TemporaryFolder.h"
#include "wire/AgentError.h"

#include <csignal>
#include <fstream>

namespace zelvo::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class WaylandWorkspaceTest : public WindowsFixture {
protected:
    std::string front()
    {
        auto const application = workspace.frontmostApplication();
        return application ? application->names.identifier().value_or("?") : "";
    }
    /// Whether hiding this name refuses what is in front.
    bool isFrontHiddenBy(std::string const& name)
    {
        auto const application = workspace.frontmostApplication();
        return application && application->names.isHidden({name});
    }

    std::optional<std::int32_t> active;
    WaylandWorkspace workspace{desktop, nullptr};
    WaylandWorkspace unseeing{blind, nullptr, [this] { return active; }};
};

TEST_F(WaylandWorkspaceTest, hasTheActiveWindowsApplicationInFront)
{
    add("e", editor).isActive = true;
    add("w", office, "writer");

    EXPECT_EQ(front(), "org.example.Editor");
    EXPECT_EQ(workspace.frontmostApplication()->pid, editor);
    EXPECT_EQ(workspace.frontmostApplication()->localizedName, "Editor");
}

TEST_F(WaylandWorkspaceTest, hasNoneInFrontWhenTheCompositorCoversAll)
{
    add("e", editor).isActive = true;
    source.now.isCovered = true;

    EXPECT_EQ(front(), "");
    EXPECT_FALSE(workspace.runningApplications().at(0).isActive);
}

TEST_F(WaylandWorkspaceTest, hidesTheFrontWithPopupsThatMayTakeTheKeys)
{
    add("w", office, "writer");
    add("e", editor).isActive = true;
    EXPECT_FALSE(isFrontHiddenBy("writer"));

    popup("menu", office, "w");
    EXPECT_EQ(front(), "org.example.Editor");
    EXPECT_TRUE(isFrontHiddenBy("writer"));

    source.window("menu").isOnScreen = false;
    EXPECT_FALSE(isFrontHiddenBy("writer"));
}

TEST_F(WaylandWorkspaceTest, listsApplicationsInTheOrderInWhichTheyAppeared)
{
    add("w", office, "writer");
    add("e", editor);
    workspace.runningApplications();
    add("c", office, "calc").isActive = true;
    std::ranges::rotate(source.now.windows, source.now.windows.begin() + 1); // Writer comes to the front.

    auto const found = workspace.runningApplications();

    ASSERT_EQ(found.size(), 3u);
    EXPECT_EQ(found[0].names.identifier(), "writer");
    EXPECT_EQ(found[1].names.identifier(), "org.example.Editor");
    EXPECT_EQ(found[2].names.identifier(), "calc");
    EXPECT_TRUE(found[2].isActive);
    EXPECT_EQ(found[0].location, "/a/writer.desktop");
    EXPECT_EQ(found[0].bundlePath, "/opt");
}

TEST_F(WaylandWorkspaceTest, callsApplicationsWithAWindowOrDialogRegular)
{
    add("panel", portal).kind = Kind::dock;
    CompositorWindow& small = add("e", editor);
    small.isMinimized = true;
    small.isOnScreen = false;

    auto const found = workspace.runningApplications();

    ASSERT_EQ(found.size(), 2u);
    EXPECT_FALSE(found[0].isRegular);
    EXPECT_TRUE(found[1].isRegular);
    EXPECT_FALSE(workspace.process(portal).isRegular);
    EXPECT_TRUE(workspace.process(editor).isRegular);
}

TEST_F(WaylandWorkspaceTest, givesAProcessItsLastActiveApplicationHiddenWithItsOthers)
{
    add("w", office, "writer");
    add("c", office, "calc");

    auto const found = workspace.application(office);

    ASSERT_TRUE(found);
    EXPECT_EQ(found->names.identifier(), "calc");
    EXPECT_TRUE(found->names.isHidden({"writer"}));
    EXPECT_EQ(workspace.application(editor), std::nullopt);
    EXPECT_EQ(workspace.process(editor).names.identifier(), "org.example.Editor");
    EXPECT_EQ(workspace.process(ownPid).names.identifier(), "dev.zelvo.agent");
}

TEST_F(WaylandWorkspaceTest, findsApplicationsByTheirEntriesAndByWhatRuns)
{
    add("s", python, "org.example.Script");

    EXPECT_EQ(workspace.applicationLocation("writer.desktop"), "/a/writer.desktop");
    EXPECT_EQ(workspace.applicationLocationNamed("Editor"), "/a/org.example.Editor.desktop");
    EXPECT_EQ(workspace.applicationLocation("nothing"), std::nullopt);
    auto const running = workspace.applicationLocation("ORG.example.script");
    ASSERT_TRUE(running);
    EXPECT_EQ(workspace.bundle(*running)->identifier, "org.example.Script");
    EXPECT_EQ(workspace.bundle("/a/calc.desktop")->localizedName, "Calc");
    EXPECT_EQ(workspace.bundle("/nowhere"), std::nullopt);
}

TEST_F(WaylandWorkspaceTest, takesTheActiveAccessibleProcessWhereNobodySeesWindows)
{
    EXPECT_THROW(unseeing.frontmostApplication(), AgentError);
    EXPECT_THAT(unseeing.runningApplications(), IsEmpty());

    active = editor;
    EXPECT_EQ(unseeing.frontmostApplication()->names.identifier(), "org.example.Editor");
    EXPECT_TRUE(unseeing.runningApplications().at(0).isActive);
    EXPECT_EQ(unseeing.application(python)->names.identifier(), "python3.11");

    active = ownPid;
    EXPECT_EQ(unseeing.frontmostApplication()->names.identifier(), "dev.zelvo.agent");
    EXPECT_EQ(source.looks, 0);
}

TEST_F(WaylandWorkspaceTest, doesNotGuessWhatIsInFrontWhenTheCompositorDoesNotAnswer)
{
    add("e", editor).isActive = true;
    source.answers = false;

    EXPECT_THROW(workspace.frontmostApplication(), AgentError);
    EXPECT_EQ(workspace.applicationLocation("writer"), "/a/writer.desktop");
    EXPECT_THROW(
        run(io, workspace.openApplication("/a/writer.desktop", Workspace::NotRunning::isStarted, {})),
        std::runtime_error);
}

/// Nothing but its program says what the process in front is.
TEST_F(WaylandWorkspaceTest, hidesAnUnknownProgramWithAnyWhereNobodySeesWindows)
{
    auto const isHidden = [this](std::int32_t pid, std::string const& name) {
        active = pid;
        return unseeing.frontmostApplication()->names.isHidden({name});
    };
    EXPECT_TRUE(isHidden(python, "org.example.Script")); // It may run just that.
    EXPECT_FALSE(isHidden(editor, "org.example.Script"));
    EXPECT_TRUE(isHidden(office, "calc"));
    EXPECT_TRUE(isHidden(office, "writer"));
    EXPECT_FALSE(isHidden(ownPid, "org.example.Script"));
}

TEST_F(WaylandWorkspaceTest, believesOnlyClientsOfTheCompositorToBeActive)
{
    FakeClientList clients;
    ActiveProcess const known = amongClients([this] { return active; }, clients);
    EXPECT_EQ(known(), std::nullopt);
    EXPECT_EQ(clients.looks, 0);

    active = editor;
    EXPECT_EQ(known(), std::nullopt);
    clients.connected = {{office, editor}};
    EXPECT_EQ(known(), editor);
    clients.connected.reset();
    EXPECT_EQ(known(), std::nullopt);
}

/// Opening, with a real program.
class WaylandOpening : public WindowsFixture {
protected:
    WaylandOpening()
    {
        auto const program = folder.path / "program";
        std::ofstream(program) << "#!/bin/sh\necho $$ > '" << pidFile() << ".new'\nmv '" << pidFile()
                               << ".new' '" << pidFile() << "'\nexec sleep 60\n";
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
        std::ofstream(location) << "[Desktop Entry]\nType=Application\nName=Tested\nExec=" << program.string()
                                << "\n";
    }
    ~WaylandOpening() override
    {
        if (started)
            ::kill(started, SIGKILL);
    }

    std::string pidFile() const { return (folder.path / "pid").string(); }
    /// Waits for the program to run.
    std::int32_t startedPid()
    {
        runUntil(io, [&] {
            std::ifstream(pidFile()) >> started;
            return started != 0;
        });
        return started;
    }
    void open(CompositorWindows& windows,
              Workspace::NotRunning notRunning = Workspace::NotRunning::isStarted,
              ActiveProcess activeProcess = {})
    {
        applications.emplace(windows, activeProcess);
        opener.emplace(contextsOn(io), clock, desktopEntries, *applications, bus);
        workspace.emplace(windows, &*opener, activeProcess);
        asio::co_spawn(io, workspace->openApplication(location, notRunning, clock.now() + 5s),
                       [this](std::exception_ptr const& failure, std::string given) {
                           isFailed = failure != nullptr;
                           name = std::move(given);
                       });
        settle(io);
    }

    TemporaryFolder folder;
    std::string const location = (folder.path / "tested.desktop").string();
    DesktopEntries desktopEntries{{folder.path}};
    ManualClock clock{&io};
    BusConnection bus{io.get_executor(), clock, [] { return BusPtr(); }};
    CompositorWindows seen{&source, [this] { return desktopEntries.current(); }, ownPid};
    CompositorWindows unseen{nullptr, [this] { return desktopEntries.current(); }, ownPid};
    std::optional<WaylandApplicationWindows> applications;
    std::optional<ApplicationOpener> opener;
    std::optional<WaylandWorkspace> workspace;
    std::int32_t started = 0;
    std::optional<std::string> name;
    bool isFailed = false;
};

TEST_F(WaylandOpening, activatesTheLastActiveWindowOfWhatRuns)
{
    add("older", python, "tested");
    add("newer", python, "tested");
    add("minimised", python, "tested").isMinimized = true;
    add("other", editor).isActive = true;

    open(seen);

    EXPECT_EQ(name, std::nullopt); // It looks again before it believes the compositor.
    clock.advance(100ms);
    EXPECT_EQ(name, "Tested");
    EXPECT_THAT(source.log, ElementsAre("activate newer"));
    EXPECT_FALSE(std::filesystem::exists(pidFile()));
}

TEST_F(WaylandOpening, takesAMinimisedWindowWhereThereIsNoOther)
{
    add("menu", python, "tested").kind = Kind::dock;
    add("minimised", python, "tested").isMinimized = true;

    open(seen);

    EXPECT_THAT(source.log, ElementsAre("activate minimised"));
}

TEST_F(WaylandOpening, startsWhatDoesNotRunAndWaitsForItsWindow)
{
    open(seen);
    std::int32_t const pid = startedPid();
    clock.advance(1s);
    EXPECT_EQ(name, std::nullopt);

    add("new", pid); // Nothing but its process says whose it is.
    clock.advance(200ms);

    EXPECT_EQ(name, "Tested");
    EXPECT_THAT(source.log, ElementsAre("activate new"));
}

TEST_F(WaylandOpening, endsAtTheDeadlineWithoutAWindow)
{
    open(seen);
    startedPid();

    clock.advance(4900ms);
    EXPECT_EQ(name, std::nullopt);
    clock.advance(200ms);
    EXPECT_EQ(name, "Tested");
}

TEST_F(WaylandOpening, insistsForTwoSecondsWhenTheCompositorRefuses)
{
    add("w", python, "tested");
    source.obeys = false;

    open(seen);
    clock.advance(1900ms);
    EXPECT_EQ(name, std::nullopt);
    clock.advance(200ms);

    EXPECT_EQ(name, "Tested");
    EXPECT_THAT(source.log, Contains("activate w").Times(5));
}

TEST_F(WaylandOpening, leavesWhatDoesNotRunWhenItIsNotToBeStarted)
{
    open(seen, Workspace::NotRunning::isLeft);

    EXPECT_EQ(name, "Tested");
    EXPECT_FALSE(std::filesystem::exists(pidFile()));
}

TEST_F(WaylandOpening, waitsForTheAccessibleWindowWhereNobodySeesWindows)
{
    std::optional<std::int32_t> active = editor;
    open(unseen, Workspace::NotRunning::isStarted, [&] { return active; });
    active = startedPid();
    EXPECT_EQ(name, std::nullopt);

    clock.advance(100ms);

    EXPECT_EQ(name, "Tested");
}

} // namespace
} // namespace zelvo::test
