#include "end_to_end/CommandsFixture.h"

#include <gmock/gmock.h>

#include <sys/xattr.h>

#include <csignal>

namespace zelvo::test {
namespace {

namespace fs = std::filesystem;

using testing::Contains;
using testing::HasSubstr;

TEST_F(Commands, everyMethodAnswers)
{
    fs::path const folder = grantFolder();
    connection = startUnattended();
    desktop.start({"zenity", "--entry", "--text", "Q"});
    auto const dialog = desktop.waitForWindow({.className = "zenity"});
    require("the dialog in front", [&] { return desktop.activeWindow() == dialog; });
    json::array const wait{json::object{{"type", "wait"}, {"ms", 1}}};
    std::vector<std::pair<std::string, json::object>> const served = {
        {"display.info", {}},
        {"permissions.get", {}},
        {"screenshot", {}},
        {"screenshot", {{"region", {{"x", 0}, {"y", 0}, {"w", 20}, {"h", 10}}}}},
        {"screen.settle", {}},
        {"actions.perform", {{"actions", wait}}},
        {"cursor.position", {}},
        {"ui.tree", {}},
        {"ui.wait", {{"role", "AXButton"}}},
        {"shell.run", {{"command", "true"}}},
        {"clipboard.set", {{"text", "kept"}}},
        {"clipboard.get", {}},
        {"apps.list", {}},
        {"windows.list", {}},
        {"urls.open", {{"url", "https://example.invalid/"}}},
        {"files.upload.begin", {{"path", (folder / "a").string()}, {"data", "YQ=="}}},
        {"files.download", {{"path", (folder / "a").string()}}},
    };
    for (auto const& [method, params] : served)
        EXPECT_EQ(failureOf(method, params), "ok") << method;
    EXPECT_EQ(failureOf("apps.open", {{"name", "no such application"}}), "invalid_request");
    EXPECT_EQ(failureOf("apps.activate", {{"name", "no such application"}}), "invalid_request");
}

TEST_F(Commands, runsACommandAfterAYes)
{
    linkWithShell();
    json::object const run{{"command", "echo out; echo err >&2; exit 3"}};

    auto denied = commanding("shell.run", run);
    answerPanel("Escape");
    EXPECT_EQ(codeOf(denied.get()), "denied_by_user");

    auto allowed = commanding("shell.run", run);
    answerPanel("Return");
    json::value const result = allowed.get().body.at("result");
    EXPECT_EQ(result.at("exitCode"), 3);
    EXPECT_EQ(result.at("stdout"), "out\n");
    EXPECT_EQ(result.at("stderr"), "err\n");
    EXPECT_EQ(result.at("timedOut"), false);
    require("the line in the journal", [&] { return agent.activity().front() == "Ran a command"; });
}

// A harmless command becomes another program by its variables, and means another file in another folder.
TEST_F(Commands, keepsFolderAndVariablesOfACommandInTheLog)
{
    linkWithShell();
    json::object const run{{"command", "sleep 1; pwd"},
                           {"cwd", "/"},
                           {"env", {{"ZDOTDIR", "/tmp/elsewhere"}, {"A", "secret-value"}}}};

    auto allowed = commanding("shell.run", run);
    answerPanel("Return");
    std::string const processes = desktop.run({"ps", "-e", "-ww", "-o", "args="});
    EXPECT_EQ(allowed.get().body.at("result").at("stdout"), "/\n");

    EXPECT_EQ(processes.find("secret-value"), std::string::npos);
    require("the line in the journal", [&] { return agent.activity().front() == "Ran a command"; });
    json::value const line = agent.setting("zelvo.activity").at(0);
    EXPECT_EQ(line.at("detail"), "sleep 1; pwd");
    EXPECT_EQ(line.at("cwd"), "/");
    EXPECT_EQ(writeJson(line.at("env")), R"(["ZDOTDIR=/tmp/elsewhere","A=secret-value"])");
}

TEST_F(Commands, endsACommandWhoseTimeIsOver)
{
    connection = startUnattended();
    json::value const result = resultOf("shell.run", {{"command", "sleep 100"}, {"timeoutMs", 200}});
    EXPECT_EQ(result.at("timedOut"), true);
    EXPECT_EQ(result.at("exitCode"), SIGTERM);
}

TEST_F(Commands, endsRunningCommandsWithTheProgram)
{
    connection = startUnattended();
    fs::path const marks = desktop.home() / "marks";
    fs::create_directories(marks);
    std::string const script = "cd '" + marks.string() +
                               "'; trap 'touch ended; exit' TERM; touch begun; "
                               "while :; do sleep 0.05; done";
    auto answer = commanding("shell.run", {{"command", script}});
    require("the command", [&] { return fs::exists(marks / "begun"); });

    EXPECT_EQ(agent.end(SIGTERM), 0);

    require("the end of the command", [&] { return fs::exists(marks / "ended"); });
    EXPECT_NE(codeOf(answer.get()), "ok");
}

TEST_F(Commands, movesFilesOfGrantedFoldersAlone)
{
    fs::path const folder = grantFolder();
    write(desktop.home() / "secret", "secret");
    write(desktop.home() / "shared2" / "b", "secret");
    fs::create_symlink(desktop.home() / "secret", folder / "way out");
    connection = startUnattended();

    std::string const content("zero \0 and \xff", 12);
    std::string const path = (folder / "new" / "folder" / "файл").string();
    EXPECT_EQ(resultOf("files.upload.begin", {{"path", path}, {"data", base64(content)}}).at("sizeBytes"),
              12);
    EXPECT_EQ(contentOf(path), content);
    EXPECT_EQ(resultOf("files.download", {{"path", path}}).at("data"), json::string(base64(content)));

    std::string const inside = folder.string();
    for (std::string const& outside :
         {inside + "/../secret", inside + "//..//secret", inside + "/way out", inside + "2/b",
          std::string("~/secret"), std::string("/proc/self/root") + (desktop.home() / "secret").string(),
          std::string("/etc/passwd")})
        EXPECT_EQ(failureOf("files.download", {{"path", outside}}), "scope_denied") << outside;
    EXPECT_EQ(failureOf("files.upload.begin", {{"path", inside + "/way out"}, {"data", "YQ=="}}),
              "scope_denied");
    EXPECT_EQ(contentOf(desktop.home() / "secret"), "secret");
    EXPECT_EQ(failureOf("files.download", {{"path", inside + "/none"}}), "invalid_request");
}

TEST_F(Commands, reachNeitherTheAgentsOwnFilesNorAGateways)
{
    agent.store("dev.zelvo.fileRoots", json::array{desktop.home().string()});
    connection = startUnattended();
    fs::path const token = agent.tokenFile();
    fs::path const key = desktop.home() / "gateway" / "api-key";
    ASSERT_TRUE(fs::exists(token) && fs::exists(key));
    write(desktop.home() / "own", "mine");
    fs::create_symlink(token, desktop.home() / "link");
    fs::create_hard_link(token, desktop.home() / "name");
    fs::create_directory_symlink(key.parent_path(), desktop.home() / "data");
    std::vector<fs::path> places = {token,
                                    key,
                                    desktop.home() / "link",
                                    desktop.home() / "name",
                                    desktop.home() / "data" / "api-key",
                                    key.parent_path() / "gateway.sqlite",
                                    desktop.configHome() / "dev.zelvo.agent/defaults/ZelvoMode.json",
                                    desktop.configHome() /
                                        "dev.zelvo.agent/defaults/dev.zelvo.fileRoots.json"};
    if (::getxattr(key.c_str(), "user.zelvo.private", nullptr, 0) >= 0) {
        fs::create_hard_link(key, desktop.home() / "key");
        places.push_back(desktop.home() / "key");
    }

    for (fs::path const& place : places) {
        std::string const before = contentOf(place);
        EXPECT_EQ(failureOf("files.download", {{"path", place.string()}}), "scope_denied") << place;
        EXPECT_EQ(failureOf("files.upload.begin", {{"path", place.string()}, {"data", "YQ=="}}),
                  "scope_denied")
            << place;
        EXPECT_EQ(contentOf(place), before);
    }
    EXPECT_EQ(
        failureOf("files.upload.begin", {{"path", (key.parent_path() / "new").string()}, {"data", "YQ=="}}),
        "scope_denied");
    EXPECT_EQ(resultOf("files.download", {{"path", (desktop.home() / "own").string()}}).at("data"),
              json::string(base64("mine")));
}

TEST_F(Commands, movesAHundredMebibytesBothWays)
{
    fs::path const folder = grantFolder();
    connection = startUnattended();
    constexpr std::size_t most = 104'857'600;
    std::string content(most, '\0');
    for (std::size_t i = 0; i < most; i += 4093)
        content[i] = static_cast<char>(i / 4093);
    std::string const path = (folder / "large").string();
    json::string const text(base64(content));

    EXPECT_EQ(resultOf("files.upload.begin", {{"path", path}, {"data", text}}).at("sizeBytes"), most);
    EXPECT_TRUE(contentOf(path) == content);
    EXPECT_TRUE(resultOf("files.download", {{"path", path}}).at("data") == text);

    std::ofstream(path, std::ios::app) << 'x';
    EXPECT_EQ(failureOf("files.download", {{"path", path}}), "invalid_request");
}

TEST_F(Commands, sharesTheClipboardWithApplications)
{
    connection = startUnattended();
    desktop.start({"zenity", "--entry", "--text", "Q"});
    auto const dialog = desktop.waitForWindow({.className = "zenity"});
    require("the dialog in front", [&] { return desktop.activeWindow() == dialog; });
    EXPECT_EQ(failureOf("clipboard.set", {{"text", "от агента"}}), "ok");
    EXPECT_EQ(resultOf("clipboard.get").at("text"), "от агента");

    auto const shows = [&](std::string const& text) {
        require("the field with " + text,
                [&] { return lines(connection).find("value=\"" + text + "\"") != std::string::npos; });
    };
    ASSERT_EQ(codeOf(perform({key({"ctrl", "v"})})), "ok");
    shows("от агента"); // The application asks this process for the text, and accepts further keys meanwhile.
    ASSERT_EQ(codeOf(perform({key({"end"}), json::object{{"type", "type"}, {"text", "!"}}})), "ok");
    shows("от агента!");
    EXPECT_EQ(resultOf("clipboard.get").at("text"), "от агента");
    ASSERT_EQ(codeOf(perform({key({"ctrl", "a"}), key({"ctrl", "c"})})), "ok");
    require("the copied text", [&] { return resultOf("clipboard.get").at("text") == "от агента!"; });
}

TEST_F(Commands, keepsTheClipboardOfAHiddenApplicationToItself)
{
    agent.store("dev.zelvo.hiddenApps", json::array{"zenity"});
    connection = startUnattended();
    desktop.start({"zenity", "--entry", "--title", "Asking", "--entry-text", "secret", "--text", "Q"});
    auto const dialog = desktop.waitForWindow({.className = "zenity"});
    require("the dialog in front", [&] { return desktop.activeWindow() == dialog; });
    press("ctrl+a");
    press("ctrl+c");

    require("the refusal", [&] { return failureOf("clipboard.get") == "hidden_app_active"; });
    desktop.run({"xdotool", "key", "Escape"});
    require("the end of the dialog", [&] { return !isOpen("Asking"); });
    EXPECT_EQ(failureOf("clipboard.get"), "hidden_app_active"); // Whichever application is in front now.
}

TEST_F(Commands, opensListsAndActivatesApplications)
{
    connection = startUnattended();
    desktop.start({"zenity", "--entry", "--title", "Before", "--text", "Q"});
    desktop.waitForWindow({.className = "zenity"});
    EXPECT_EQ(failureOf("apps.activate", {{"bundleId", "org.xfce.mousepad"}}), "invalid_request");

    EXPECT_EQ(resultOf("apps.open", {{"name", "Mousepad.app"}}),
              (json::object{{"ok", true}, {"bundleId", "org.xfce.mousepad"}, {"name", "Mousepad"}}));
    EXPECT_EQ(inFront(), "org.xfce.mousepad");
    std::string const windows = writeJson(resultOf("windows.list"));
    EXPECT_THAT(windows, HasSubstr(R"("title":"Before")"));
    EXPECT_THAT(windows, HasSubstr(R"("appName":"Mousepad","bundleId":"org.xfce.mousepad")"));

    desktop.run({"xdotool", "search", "--name", "^Before$", "windowactivate", "--sync"});
    EXPECT_NE(inFront(), "org.xfce.mousepad");
    EXPECT_EQ(failureOf("apps.activate", {{"bundleId", "org.xfce.mousepad"}}), "ok");
    EXPECT_EQ(inFront(), "org.xfce.mousepad");
}

TEST_F(Commands, opensUrlsWithWhatTheirSchemeBelongsTo)
{
    fs::path const record = desktop.home() / "opened";
    entry("tester", "Name=Tester\nMimeType=x-scheme-handler/https;x-scheme-handler/mailto;\n"
                    "Exec=sh -c \"echo \\\\$0 >> " +
                        record.string() + "\" %u\n");
    write(desktop.configHome() / "mimeapps.list",
          "[Default "
          "Applications]\nx-scheme-handler/https=tester.desktop\nx-scheme-handler/mailto=tester.desktop\n");
    connection = linkByReturn({"screen", "input"});

    EXPECT_EQ(failureOf("urls.open", {{"url", "https://example.invalid/a?b=c"}}), "ok");
    require("the page", [&] { return contentOf(record) == "https://example.invalid/a?b=c\n"; });

    auto denied = commanding("urls.open", {{"url", "mailto:a@example.invalid"}});
    answerPanel("Escape");
    EXPECT_EQ(codeOf(denied.get()), "denied_by_user");
    auto allowed = commanding("urls.open", {{"url", "mailto:b@example.invalid"}});
    answerPanel("Return");
    EXPECT_EQ(codeOf(allowed.get()), "ok");
    require("the letter",
            [&] { return contentOf(record) == "https://example.invalid/a?b=c\nmailto:b@example.invalid\n"; });
    EXPECT_EQ(failureOf("urls.open", {{"url", "two words"}}), "invalid_request");
}

TEST_F(Commands, withoutAScopeNothingRuns)
{
    connection = linkByReturn({"screen"});
    fs::path const mark = desktop.home() / "mark";
    EXPECT_EQ(failureOf("shell.run", {{"command", "touch " + mark.string()}}), "scope_denied");
    EXPECT_EQ(failureOf("clipboard.get"), "scope_denied");
    EXPECT_EQ(failureOf("files.download", {{"path", "/etc/passwd"}}), "scope_denied");
    EXPECT_EQ(failureOf("apps.open", {{"bundleId", "org.xfce.mousepad"}}), "scope_denied");
    EXPECT_FALSE(fs::exists(mark));
}

} // namespace
} // namespace zelvo::test
