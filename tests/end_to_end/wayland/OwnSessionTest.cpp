#include "end_to_end/TrialRun.h"
#include "end_to_end/wayland/WaylandFixture.h"
#include "unit/system/TemporaryFolder.h"

#include <algorithm>
#include <csignal>
#include <iterator>
#include <map>
#include <regex>

namespace zelvo::test {
namespace {

namespace fs = std::filesystem;

constexpr char const* ownSecret = "not for a trial";

// `make run` in a person's own session. The gateway and the agent of the fixture are the installed Zelvo.
class OwnSession : public OnWayland {
protected:
    void SetUp() override
    {
        OnWayland::SetUp();
        if (IsSkipped())
            return;
        trial.emplace(desktop(), desktop().home() / "clone" / "build" / "run");
    }

    // An installed Zelvo that does not run: its token and its settings.
    void leaveOwnTraces()
    {
        agent->makeUnattended("the installed token");
        agent->store("zelvo.hiddenApps", json::array{"keep"});
        startKeyRing();
    }
    // An open key ring with the token of the installed Zelvo.
    void startKeyRing()
    {
        endLockedKeyRing();
        desktop().start(
            {"sh", "-c", "printf '\\n' | gnome-keyring-daemon --unlock --components=secrets --foreground"});
        // A question would start a locked one.
        require("the key ring", [&] { return desktop().hasOwner("org.freedesktop.secrets"); });
        require("the open key ring", [&] { return isKeyRingOpen(); });
        desktop().run(
            {"sh", "-c",
             std::string("printf '") + ownSecret +
                 "' | secret-tool store --label=Zelvo service dev.zelvo.agent account machine_token"});
    }
    bool isKeyRingOpen()
    {
        try {
            return desktop().call("org.freedesktop.secrets", "/org/freedesktop/secrets/aliases/default",
                                  "org.freedesktop.DBus.Properties.Get",
                                  {"org.freedesktop.Secret.Collection", "Locked"}) == "(<false>,)\n";
        } catch (std::runtime_error const&) {
            return false; // It has no collection yet.
        }
    }
    // KDE's portals may be about to start one, so first it is made sure that there is one.
    void endLockedKeyRing()
    {
        std::string const bus = "org.freedesktop.DBus";
        desktop().call(bus, "/", bus + ".StartServiceByName", {"org.freedesktop.secrets", "0"});
        std::string const owner =
            desktop().call(bus, "/", bus + ".GetConnectionUnixProcessID", {"org.freedesktop.secrets"});
        ASSERT_TRUE(owner.starts_with("(uint32 ")) << owner;
        ASSERT_EQ(::kill(std::stoi(owner.substr(owner.find(' '))), SIGTERM), 0);
        require("the end of the locked key ring",
                [&] { return !desktop().hasOwner("org.freedesktop.secrets"); });
    }
    std::string secretsInRing()
    {
        return desktop().run({"secret-tool", "search", "--all", "--unlock", "service", "dev.zelvo.agent"});
    }
    // The scripts in KWin, at the paths of Plasma 5 and 6.
    long scriptsInKwin()
    {
        std::regex const script("node (Script)?[0-9]+ ");
        long count = 0;
        for (char const* const path : {"/", "/Scripting"}) {
            std::string const nodes = desktop().run(
                {"gdbus", "introspect", "--session", "--dest", "org.kde.KWin", "--object-path", path});
            count += std::distance(std::sregex_iterator(nodes.begin(), nodes.end(), script), {});
        }
        return count;
    }
    // All files and folders of the home but those of the clone, with their contents; what the desktop itself
    // writes is left out.
    std::map<std::string, std::string> home()
    {
        std::vector<fs::path> const others = {"clone",
                                              "build",
                                              ".cache",
                                              ".local/state",
                                              ".local/share/flatpak",
                                              ".config/kwinrc",
                                              ".config/kglobalshortcutsrc"};
        std::map<std::string, std::string> found;
        for (auto each = fs::recursive_directory_iterator(desktop().home()); each != fs::end(each); ++each) {
            fs::path const name = fs::relative(each->path(), desktop().home());
            if (std::ranges::find(others, name) != others.end())
                each.disable_recursion_pending();
            else
                found[name] = each->is_regular_file() ? contentOf(each->path()) : "";
        }
        return found;
    }
    pid_t trialAgent() const
    {
        for (fs::directory_entry const& entry : fs::directory_iterator("/proc")) {
            std::error_code ignored;
            if (fs::read_symlink(entry.path() / "exe", ignored) == trial->agent())
                return std::stoi(entry.path().filename());
        }
        return 0;
    }
    // Presses a button of the trial's window, until the trial says a text: a yes counts only after a moment.
    void pressUntil(std::string const& button, std::string const& text)
    {
        require(
            text,
            [&] {
                try {
                    desktop().run({"/usr/bin/python3", ZELVO_SCREEN_READER, "press",
                                   std::to_string(trialAgent()), button});
                } catch (std::runtime_error const&) { // It is not there yet, or not any more.
                }
                return trial->said().find(text) != std::string::npos;
            },
            60s);
    }
    void startTrial()
    {
        trial->start();
        ASSERT_TRUE(trial->says("A window asks")) << trial->said();
        pressUntil("Allow", "Ctrl-C ends all of it");
    }
    void expectAPicture()
    {
        fs::path const folder = trial->keptFolder();
        require(
            "a picture",
            [&] {
                trial->runLineAfter("Take a screenshot", folder);
                return contentOf(folder / "screen.jpg").starts_with("\xff\xd8\xff");
            },
            40s);
    }
    fs::path kwinEntry(std::string const& name) { return desktop().dataHome() / "applications" / name; }

    std::optional<TrialRun> trial;
};

TEST_P(OwnSession, leavesTheInstalledZelvoAndTheHomeAsTheyAre)
{
    leaveOwnTraces();
    auto const before = home();
    std::string const secrets = secretsInRing();
    ASSERT_NE(secrets.find(ownSecret), std::string::npos);

    startTrial();
    if (machine->asks())
        pressAll({"Ask the desktop", "Register", "--then", "Later", "Start"});
    expectAPicture();

    EXPECT_FALSE(desktop().hasOwner("dev.zelvo.agent"));
    EXPECT_NE(contentOf(trial->keptFolder() /
                        "session/data/dev.zelvo.agent/keychain/dev.zelvo.agent.machine_token"),
              "");
    if (GetParam() == Compositor::kwin) {
        EXPECT_NE(contentOf(kwinEntry("dev.zelvo.agent.kwin-2.desktop")).find(trial->agent()),
                  std::string::npos);
    }
    EXPECT_EQ(trial->end(), 0) << trial->said();
    EXPECT_EQ(trial->running(), 0);
    EXPECT_EQ(home(), before);
    EXPECT_EQ(secretsInRing(), secrets);
}

TEST_P(OwnSession, disturbsNoRunningZelvo)
{
    startUnattended();
    ASSERT_TRUE(desktop().hasOwner("dev.zelvo.agent"));

    startTrial();
    EXPECT_EQ(failureOf("permissions.get"), "ok");
    if (GetParam() == Compositor::kwin)
        EXPECT_TRUE(waitFor([&] { return scriptsInKwin() == 2; }));
    EXPECT_EQ(agent->startAgain({}), 0); // The running one opens its window.
    EXPECT_EQ(trial->end(), 0) << trial->said();

    EXPECT_TRUE(mayAct());
    EXPECT_TRUE(agent->isRunning());
    EXPECT_TRUE(desktop().hasOwner("dev.zelvo.agent"));
}

INSTANTIATE_TEST_SUITE_P(, OwnSession, testing::Values(Compositor::sway, Compositor::kwin), nameOfCompositor);

} // namespace
} // namespace zelvo::test
