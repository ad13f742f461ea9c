#include "desktop/harness/PainterProcess.h"
#include "desktop/x11/OpeningFixture.h"
#include "fakes/ManualClock.h"
#include "fakes/Run.h"

#include <gmock/gmock.h>

#include <gio/gio.h>
#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <fstream>

namespace zelvo::test {
namespace {

constexpr char const* gtkApplication = "/usr/bin/python3 " ZELVO_X11_TEST_FOLDER "/gtk_application.py ";

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

/// Opens applications that do not run.
class Starting : public OpeningFixture {};

TEST_F(Starting, startsAnApplicationOfTheSystem)
{
    auto const location = workspace->applicationLocation("org.xfce.mousepad");
    ASSERT_TRUE(location);

    EXPECT_EQ(open(*location), "Mousepad");

    EXPECT_EQ(front(), "org.xfce.mousepad");
    EXPECT_EQ(running("org.xfce.mousepad").location, location);
    EXPECT_EQ(workspace->bundle(*location)->identifier, "org.xfce.mousepad");
}

TEST_F(Starting, comesBeforeTheWindowThatHasTheFocus)
{
    auto const location = terminalEntry("Tested");
    desktop.start({"zenity", "--entry", "--text", "Q"});
    desktop.waitForWindow({.className = "zenity"});
    // Newer ones have a desktop entry.
    ASSERT_TRUE(waitFor([&] { return front().ends_with("enity"); })) << front();

    EXPECT_EQ(open(location), "The Tested");

    EXPECT_EQ(front(), "Tested");
    EXPECT_EQ(startsOf("Tested"), 1u);
}

TEST_F(Starting, bringsToTheFrontWhatDoesNotComeByItself)
{
    auto const shy = entry("Shy", std::string("Name=Shy\nExec=") + gtkApplication + "Shy shy\n");
    desktop.start({"xterm", "-class", "Other"});
    desktop.waitForWindow({.className = "Other"});
    ASSERT_TRUE(waitFor([&] { return desktop.activeWindow() != 0; }));

    EXPECT_EQ(open(shy), "Shy");

    EXPECT_EQ(front(), "Shy");
}

TEST_F(Starting, givesAProgramNothingOfOurs)
{
    auto const record = desktop.home() / "record";
    auto const program =
        script("recorder", "{ echo \"startup=$DESKTOP_STARTUP_ID\"; echo \"self=$$ \"\n"
                           "echo \"stat=$(cut -d' ' -f4,6 /proc/$$/stat)\"; ls -l /proc/$$/fd\n"
                           "grep -E 'SigBlk|SigIgn' /proc/self/status; } > " +
                               record.string() + ".part 2>&1\nmv " + record.string() + ".part " +
                               record.string() + "\nexec xterm -class Recorder\n");
    auto const location =
        entry("Recorder", "Name=Recorder\nStartupNotify=true\nExec=" + program.string() + "\n");
    std::ofstream held(desktop.home() / "held open");
    ::signal(SIGPIPE, SIG_IGN);
    ::prctl(PR_SET_CHILD_SUBREAPER, 0); // A test takes in orphans, which this program does not.

    open(location);

    RunningApplication const started = running("Recorder");
    std::string const said = contentOf(record);
    std::string const pid = std::to_string(started.pid);
    EXPECT_THAT(said, HasSubstr("startup=zelvo-"));
    EXPECT_THAT(said, HasSubstr("_TIME"));
    EXPECT_THAT(said, HasSubstr("self=" + pid + " "));
    EXPECT_THAT(said, Not(HasSubstr("stat=" + std::to_string(::getpid()) + " "))); // Its parent.
    EXPECT_THAT(said, HasSubstr(" " + pid + "\n"));                                // Its process session.
    EXPECT_THAT(said, Not(HasSubstr("held open")));
    EXPECT_THAT(said, Not(HasSubstr("socket:")));
    EXPECT_THAT(said, HasSubstr("SigBlk:\t0000000000000000"));
    EXPECT_THAT(said, HasSubstr("SigIgn:\t0000000000000000"));
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    ASSERT_GT(started.pid, 1);
    ::kill(started.pid, SIGKILL); // It is no descendant of ours, so nobody else would.
}

TEST_F(Starting, runsATerminalProgramInTheTerminalEmulator)
{
    script("x-terminal-emulator", "exec xterm \"$@\"\n");
    script("xdg-terminal-exec", "exec xterm -e \"$@\"\n");
    auto const record = desktop.home() / "tty";
    auto const program = script("teller", "tty > " + record.string() + "\necho \"$@\" >> " + record.string() +
                                              "\nexec sleep 60\n");
    auto const location = entry("org.example.teller", "Name=Teller\nTerminal=true\nExec=" + program.string() +
                                                          " \"two words\" %U\n");

    EXPECT_EQ(open(location), "Teller");

    EXPECT_EQ(front(), "debian-xterm"); // The window is the emulator's.
    ASSERT_TRUE(waitFor([&] { return contentOf(record).ends_with("two words\n"); }));
    EXPECT_THAT(contentOf(record), HasSubstr("/dev/pts/"));
}

TEST_F(Starting, saysWhyItCanNotStartSomething)
{
    auto const missing = entry("missing", "Name=Missing\nExec=/nowhere/at/all\n");
    auto const tried = entry("tried", "Name=Tried\nTryExec=/nowhere/at/all\nExec=xterm\n");
    auto const folder = entry("folder", "Name=Folder\nPath=/nowhere/at/all\nExec=xterm\n");
    auto const empty = entry("empty", "Name=Empty\n");
    auto const terminal = entry("terminal", "Name=Terminal\nTerminal=true\n");

    for (std::string const& location : {missing, tried, folder, empty, terminal})
        EXPECT_NE(failureOf(location), "") << location;
    EXPECT_THAT(failureOf("/nowhere/at/all.desktop"), HasSubstr("no application"));
    EXPECT_THAT(failureOf("/usr/bin/xterm"), HasSubstr("no application"));
    EXPECT_THAT(failureOf(""), HasSubstr("no application"));
}

TEST_F(Starting, waitsNoLongerThanFiveSecondsForAWindow)
{
    auto const location = entry("windowless", "Name=Windowless\nExec=sleep 60\n");
    asio::io_context io;
    ManualClock manual(&io);
    ApplicationOpener patient(contextsOn(io), manual, *entries, *windows, *bus);
    std::optional<std::string> name;
    asio::co_spawn(io, patient.open(location, Workspace::NotRunning::isStarted, manual.now() + 5s),
                   [&](std::exception_ptr, std::string given) { name = std::move(given); });
    settle(io);

    manual.advance(4900ms);
    EXPECT_EQ(name, std::nullopt);
    manual.advance(200ms);
    EXPECT_EQ(name, "Windowless");
}

/// GIO connects to the bus for every start, and by default ends the program with the connection.
TEST_F(Starting, doesNotTieThisProgramToTheSessionBus)
{
    std::unique_ptr<GDBusConnection, decltype(&g_object_unref)> const shared(
        g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr), g_object_unref);
    ASSERT_TRUE(shared);
    g_dbus_connection_set_exit_on_close(shared.get(), TRUE); // As it begins.

    open(terminalEntry("Tested"));

    EXPECT_FALSE(g_dbus_connection_get_exit_on_close(shared.get()));
}

/// Opens an application of the session bus.
class StartingByBus : public OpeningFixture {
protected:
    static constexpr char const* id = "dev.example.Bus-App";

    std::string busEntry(std::string const& command)
    {
        return entry(id, "Name=On the bus\nDBusActivatable=true\nExec=" + command + "\n");
    }
    void addService(std::string const& command)
    {
        auto const folder = desktop.dataHome() / "dbus-1" / "services";
        std::filesystem::create_directories(folder);
        std::ofstream(folder / (std::string(id) + ".service"))
            << "[D-BUS Service]\nName=" << id << "\nExec=" << command << "\n";
        desktop.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus.ReloadConfig");
    }
};

TEST_F(StartingByBus, letsTheBusStartIt)
{
    auto const record = desktop.home() / "by-command";
    auto const location = busEntry(script("by-command", "touch " + record.string() + "\n").string());
    addService(gtkApplication + std::string(id) + " bus");

    EXPECT_EQ(open(location), "On the bus");

    EXPECT_EQ(front(), id);
    EXPECT_FALSE(std::filesystem::exists(record));
    EXPECT_TRUE(desktop.findWindow({.title = "from the bus"}));
}

TEST_F(StartingByBus, runsTheCommandWhereTheBusKnowsNoService)
{
    auto const location = busEntry(gtkApplication + std::string(id));

    EXPECT_EQ(open(location), "On the bus");

    EXPECT_EQ(front(), id);
}

TEST_F(StartingByBus, saysWhatTheBusSaid)
{
    auto const location = busEntry("xterm");
    addService("/bin/false");

    EXPECT_THAT(failureOf(location), HasSubstr("org.freedesktop.DBus.Error.Spawn"));
}

/// Opens an application that runs already.
class Activating : public OpeningFixture {
protected:
    std::string location;
    RunningApplication application;
    std::uint32_t window = 0;

    void SetUp() override
    {
        location = terminalEntry("Tested");
        open(location);
        application = running("Tested");
        ASSERT_TRUE(waitFor([&] { return (window = desktop.activeWindow()) != 0; }));
        ASSERT_EQ(front(), "Tested");
        terminalEntry("Other");
    }
    void openOther()
    {
        open(*workspace->applicationLocation("Other"));
        ASSERT_EQ(front(), "Other");
    }
    void expectFront()
    {
        EXPECT_EQ(open(location), "The Tested");
        EXPECT_TRUE(waitFor([&] { return desktop.activeWindow() == window; }, 1s));
        EXPECT_EQ(workspace->frontmostApplication()->pid, application.pid);
        EXPECT_EQ(startsOf("Tested"), 1u);
    }
    bool hasState(char const* state)
    {
        Painter painter(desktop.display());
        xcb_atom_t const atom = atomOf(painter.x(), state);
        std::string const bytes(reinterpret_cast<char const*>(&atom), sizeof atom);
        return propertyOf(painter.x(), window, "_NET_WM_STATE").find(bytes) != std::string::npos;
    }
    void askForState(char const* state)
    {
        Painter painter(desktop.display());
        xcb_client_message_event_t message{};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = window;
        message.type = atomOf(painter.x(), "_NET_WM_STATE");
        message.data.data32[0] = 1;
        message.data.data32[1] = atomOf(painter.x(), state);
        xcb_send_event(painter.x(), 0, painter.root(),
                       XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                       reinterpret_cast<char const*>(&message));
        painter.sync();
    }
};

TEST_F(Activating, leavesWhatIsInFrontThere)
{
    expectFront();
}

TEST_F(Activating, bringsAWindowBeforeTheOthers)
{
    openOther();

    expectFront();
}

TEST_F(Activating, bringsBackAMinimisedWindow)
{
    openOther();
    desktop.run({"xdotool", "windowminimize", std::to_string(window)});
    ASSERT_TRUE(waitFor([&] { return !desktop.findWindow({.className = "Tested"}); }));
    EXPECT_TRUE(running("Tested").isRegular);
    EXPECT_FALSE(running("Tested").isActive);

    expectFront();
    EXPECT_TRUE(desktop.findWindow({.className = "Tested"}));
}

TEST_F(Activating, startsNothingWhereItMayNot)
{
    auto const other = *workspace->applicationLocation("Other");

    EXPECT_EQ(live.run(workspace->openApplication(other, Workspace::NotRunning::isLeft, soon())),
              "The Other");

    EXPECT_EQ(startsOf("Other"), 0u);
    EXPECT_EQ(front(), "Tested");
}

TEST_F(Activating, goesToAnotherWorkspace)
{
    desktop.run({"xdotool", "set_desktop", "2"});
    ASSERT_TRUE(waitFor([&] { return !desktop.findWindow({.className = "Tested"}); }));
    openOther();

    expectFront();
    EXPECT_EQ(desktop.run({"xdotool", "get_desktop"}), "0\n");
}

TEST_F(Activating, unrollsAShadedWindow)
{
    for (bool const isActive : {true, false}) {
        if (!isActive)
            openOther();
        askForState("_NET_WM_STATE_SHADED");
        ASSERT_TRUE(waitFor([&] { return hasState("_NET_WM_STATE_SHADED"); }));

        expectFront();
        EXPECT_TRUE(waitFor([&] { return !hasState("_NET_WM_STATE_SHADED"); }));
    }
}

TEST_F(Activating, takesTheWindowThatWasActiveLast)
{
    PainterProcess painter(desktop);
    auto const open2 = [&](int x, std::string title) {
        return painter.open({.x = x, .title = std::move(title), .instance = "Pair", .className = "Pair"});
    };
    std::uint32_t const first = open2(0, "first");
    std::uint32_t const second = open2(400, "second");
    for (std::uint32_t const one : {first, second, first})
        desktop.run({"xdotool", "windowactivate", "--sync", std::to_string(one)});
    openOther();
    auto const pair = running("Pair").location;
    ASSERT_TRUE(pair); // It has no entry.

    open(*pair);

    // It has the focus; for a moment the window manager may report no active window.
    EXPECT_TRUE(waitFor([&] { return desktop.activeWindow() == first; }, 1s));
}

/// What the workspace reports about applications.
class WorkspaceFacts : public OpeningFixture {};

TEST_F(WorkspaceFacts, thePersonsEntriesBeforeTheSystems)
{
    EXPECT_EQ(workspace->applicationLocation("debian-xterm"), "/usr/share/applications/debian-xterm.desktop");
    auto const own = entry("debian-xterm", "Name=Mine\nExec=xterm\n");
    auto const gone = entry("org.xfce.mousepad", "Name=Mousepad\nHidden=true\n");
    auto const editor = entry("own-editor", "Name=XTerm\nExec=xterm\n");
    entries = std::make_unique<DesktopEntries>();
    X11Workspace fresh(connection, *entries);

    EXPECT_EQ(fresh.applicationLocation("debian-xterm"), own);
    EXPECT_EQ(fresh.applicationLocation("debian-xterm.desktop"), own);
    EXPECT_EQ(fresh.bundle(own)->localizedName, "Mine");
    EXPECT_EQ(fresh.applicationLocation("org.xfce.mousepad"), std::nullopt);
    EXPECT_EQ(fresh.applicationLocationNamed("Mousepad"), std::nullopt);
    EXPECT_EQ(fresh.bundle(gone), std::nullopt);
    EXPECT_EQ(fresh.applicationLocationNamed("XTerm"), editor);
    EXPECT_EQ(fresh.applicationLocationNamed("XTerm.app"), editor);
}

TEST_F(WorkspaceFacts, namesInTheDesktopsLanguage)
{
    auto const location = entry("org.example.edit", "Name=Editing\nName[ru]=Правка\nExec=xterm\n");
    ::setenv("LANGUAGE", "ru", 1);
    ::setenv("LANG", "ru_RU.UTF-8", 1);
    DesktopEntries russian;
    X11Workspace fresh(connection, russian);

    EXPECT_EQ(fresh.applicationLocationNamed("Правка"), location);
    EXPECT_EQ(fresh.applicationLocationNamed("Editing"), location);
    EXPECT_EQ(fresh.applicationLocationNamed("edit.desktop"), location);
    EXPECT_EQ(fresh.bundle(location)->localizedName, "Правка");
    ::unsetenv("LANGUAGE");
    ::setenv("LANG", "C.UTF-8", 1);
}

TEST_F(WorkspaceFacts, allThatAnApplicationMayBeHiddenUnder)
{
    auto const location = entry("org.example.secret", "Name=S\nStartupWMClass=Secret-Class\nExec=xterm\n");
    auto const names = workspace->bundle(location)->names;
    EXPECT_EQ(names.identifier(), "org.example.secret");
    EXPECT_TRUE(names.isHidden({"Secret-Class"}));
    EXPECT_TRUE(names.isHidden({"xterm"}));

    // A running application has more names.
    desktop.start({"xterm", "-class", "Secret-Class", "-name", "told-by-window"});
    ASSERT_TRUE(waitFor([&] { return running("org.example.secret").pid != 0; }));
    EXPECT_EQ(running("org.example.secret").location, location);
    EXPECT_THAT(workspace->bundle(location)->names.names, Contains("Secret-Class"));
}

TEST_F(WorkspaceFacts, whatRuns)
{
    EXPECT_TRUE(workspace->runningApplications().empty());
    PainterProcess plain(desktop);
    PainterProcess panel(desktop);
    plain.open({.title = "A", .className = "Plain"});
    panel.open({.y = 500, .className = "Panel", .type = "_NET_WM_WINDOW_TYPE_DOCK"});
    PainterProcess third(desktop);
    third.open({.x = 500, .className = "Third"});
    ASSERT_TRUE(waitFor([&] { return front() == "Third"; }));

    auto const all = workspace->runningApplications();

    ASSERT_EQ(all.size(), 3u);
    EXPECT_EQ(all[0].names.identifier(), "Plain");
    EXPECT_EQ(all[0].localizedName, "Plain");
    EXPECT_EQ(all[0].pid, plain.pid());
    EXPECT_TRUE(all[0].isRegular);
    EXPECT_FALSE(all[0].isActive);
    EXPECT_NE(all[0].location, all[2].location); // Of one program, and without an entry.
    EXPECT_EQ(workspace->applicationLocation("Plain"), all[0].location);
    EXPECT_EQ(all[1].names.identifier(), "Panel");
    EXPECT_FALSE(all[1].isRegular);
    EXPECT_EQ(all[2].names.identifier(), "Third");
    EXPECT_TRUE(all[2].isRegular);
    EXPECT_TRUE(all[2].isActive);
    EXPECT_EQ(workspace->runningApplications(), all);
}

/// The first known type counts; toolkits put their own before it.
TEST_F(WorkspaceFacts, whichTypesOfWindowsAreRegular)
{
    struct Typed {
        std::string name;
        std::vector<char const*> types;
        bool isRegular;
    };
    for (Typed const& typed : std::vector<Typed>{
             {"First", {"_KDE_NET_WM_WINDOW_TYPE_OVERRIDE", "_NET_WM_WINDOW_TYPE_NORMAL"}, true},
             {"Second", {"_KDE_NET_WM_WINDOW_TYPE_OVERRIDE"}, true},
             {"Third", {"_NET_WM_WINDOW_TYPE_DIALOG", "_NET_WM_WINDOW_TYPE_NORMAL"}, true},
             {"Fourth", {"_KDE_NET_WM_WINDOW_TYPE_OVERRIDE", "_NET_WM_WINDOW_TYPE_UTILITY"}, false},
             {"Fifth", {"_NET_WM_WINDOW_TYPE_UTILITY", "_NET_WM_WINDOW_TYPE_NORMAL"}, false},
             {"Sixth", {"_NET_WM_WINDOW_TYPE_SPLASH"}, false},
         }) {
        PainterProcess painter(desktop);
        std::uint32_t const window = painter.open({.className = typed.name});
        ASSERT_TRUE(waitFor([&] { return running(typed.name).isRegular; }));
        Painter ours(desktop.display());
        std::vector<xcb_atom_t> atoms;
        for (char const* const type : typed.types)
            atoms.push_back(atomOf(ours.x(), type));
        xcb_change_property(ours.x(), XCB_PROP_MODE_REPLACE, window, atomOf(ours.x(), "_NET_WM_WINDOW_TYPE"),
                            XCB_ATOM_ATOM, 32, static_cast<std::uint32_t>(atoms.size()), atoms.data());
        ours.sync();

        EXPECT_EQ(running(typed.name).isRegular, typed.isRegular) << typed.name;
    }
}

TEST_F(WorkspaceFacts, nothingWithoutAServer)
{
    X11Workspace blind(nullptr, *entries);

    EXPECT_TRUE(blind.runningApplications().empty());
    EXPECT_EQ(blind.applicationLocation("nowhere"), std::nullopt);
    EXPECT_EQ(blind.bundle("/nowhere"), std::nullopt);
    EXPECT_THROW(live.run(blind.openApplication("/nowhere", Workspace::NotRunning::isStarted, soon())),
                 std::runtime_error);
}

} // namespace
} // namespace zelvo::test
