#include "platform/linux/wayland/wlr/VirtualInput.h"

#include "desktop/harness/Chromium.h"
#include "desktop/input/SampleTexts.h"
#include "desktop/wayland/harness/PrivateSway.h"
#include "desktop/x11/LiveContexts.h"

#include <gtest/gtest.h>

#include <linux/input-event-codes.h>
#include <signal.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

namespace zelvo::test {
namespace {

std::string contentOf(std::string const& path)
{
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

class InputOnSway : public testing::Test {
protected:
    LiveContexts live;
    std::unique_ptr<PrivateSway> sway;
    std::unique_ptr<VirtualInput> input;
    std::string path;

    void SetUp() override
    {
        if (auto const reason = PrivateSway::missing(); !reason.empty())
            GTEST_SKIP() << reason;
    }
    void TearDown() override
    {
        input.reset();
        live.stop();
    }

    void start(SwayOptions options = {})
    {
        options.config += "\nfocus_follows_mouse no\n";
        sway = std::make_unique<PrivateSway>(options);
        sway->adoptEnvironment();
        path = sway->home() / "seen";
        input = VirtualInput::create(live.contexts());
        ASSERT_TRUE(input);
    }

    /// Starts a program and waits until its file is there.
    pid_t open(std::vector<std::string> const& command)
    {
        pid_t const pid = sway->start(command, {{"GDK_BACKEND", "wayland"}, {"QT_QPA_PLATFORM", "wayland"}});
        require(command.back() + " has started", [&] { return std::filesystem::exists(path); }, 20s);
        return pid;
    }

    pid_t openEvents(std::string const& title = "events", std::string const& output = "HEADLESS-1")
    {
        sway->command("focus output " + output);
        pid_t const pid = open({"/usr/bin/python3", ZELVO_WLR_TEST_FOLDER "/gtk_events.py", path, title});
        EXPECT_TRUE(seen("focus"));
        return pid;
    }

    testing::AssertionResult seen(std::string const& lines)
    {
        if (waitFor([&] { return contentOf(path).find(lines + '\n') != std::string::npos; }, 5s))
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << contentOf(path);
    }

    void key(int code, bool isDown) { EXPECT_TRUE(live.run(input->key(code, isDown))); }

    /// Types everything, and waits until the program has it.
    void expectTyped(std::string const& text)
    {
        EXPECT_TRUE(live.run(input->type(text)));
        waitFor([&] { return contentOf(path).size() >= text.size(); }, 20s);
        waitFor([&] { return contentOf(path) == text; }, 3s);
        EXPECT_EQ(contentOf(path), text);
    }

    static std::string everything() { return mixedText() + '\n' + longText() + "\n\tend"; }
};

TEST_F(InputOnSway, typesIntoGtk3)
{
    start();
    open({"/usr/bin/python3", ZELVO_INPUT_TEST_FOLDER "/gtk_field.py", path});
    expectTyped(everything());
}

TEST_F(InputOnSway, typesIntoGtk4)
{
    start();
    open({"/usr/bin/python3", ZELVO_WLR_TEST_FOLDER "/gtk4_field.py", path});
    expectTyped(everything());
}

TEST_F(InputOnSway, typesIntoQt)
{
    start();
    open({ZELVO_QT_FIELD, path});
    expectTyped(everything());
}

TEST_F(InputOnSway, typesIntoATerminal)
{
    start();
    open({"foot", "sh", "-c", "stty -icanon -echo; exec cat > " + path});
    expectTyped(everything());
}

TEST_F(InputOnSway, typesIntoChromium)
{
    if (::access("/usr/bin/chromium", X_OK) != 0)
        GTEST_SKIP() << "needs the package chromium";
    start();
    auto const port = path + ".port";
    sway->start({"/usr/bin/python3", ZELVO_INPUT_TEST_FOLDER "/web_field.py", port, path});
    require("the page's server", [&] { return !contentOf(port).empty(); });
    open(chromiumCommand(path + ".profile",
                         {"--ozone-platform=wayland", "--app=http://127.0.0.1:" + contentOf(port) + "/"}));

    expectTyped("aA 1! яЯ éÉ ßẞ 漢字 한국 \n" + longText());
}

TEST_F(InputOnSway, typesNothingThatNoKeyMakes)
{
    start();
    openEvents();

    EXPECT_FALSE(live.run(input->type("abc\x1b")));
    EXPECT_TRUE(live.run(input->type("z")));

    EXPECT_TRUE(seen("release z"));
    EXPECT_EQ(contentOf(path).find("key a"), std::string::npos);
}

TEST_F(InputOnSway, movesOverAllOutputsAndPresses)
{
    start({.outputs = {{.width = 1000, .height = 600, .scale = 2},
                       {.width = 640, .height = 480, .transform = "90", .x = 500}}});
    openEvents("left");
    auto const left = path;
    path += "2";
    openEvents("right", "HEADLESS-2");
    auto const right = path;

    path = left;
    EXPECT_TRUE(live.run(input->moveTo({123, 45})));
    EXPECT_TRUE(seen("at 123 45"));
    EXPECT_TRUE(live.run(input->moveTo({499, 299})));
    EXPECT_TRUE(seen("at 499 299"));
    EXPECT_TRUE(live.run(input->moveTo({0, 0})));
    EXPECT_TRUE(seen("at 0 0"));
    path = right;
    EXPECT_TRUE(live.run(input->moveTo({501, 639})));
    EXPECT_TRUE(seen("at 1 639"));
    EXPECT_TRUE(live.run(input->moveTo({9999, 9999})));
    EXPECT_TRUE(seen("at 479 639"));

    for (int const button : {BTN_LEFT, BTN_MIDDLE, BTN_RIGHT}) {
        EXPECT_TRUE(live.run(input->button(button, true)));
        EXPECT_TRUE(live.run(input->button(button, false)));
    }
    EXPECT_TRUE(seen("down 1\nup 1\ndown 2\nup 2\ndown 3\nup 3"));
}

TEST_F(InputOnSway, turnsTheWheelClickByClick)
{
    start();
    openEvents();
    EXPECT_TRUE(live.run(input->moveTo({100, 100})));

    EXPECT_TRUE(live.run(input->scroll(3, 0)));
    EXPECT_TRUE(live.run(input->scroll(-1, 2)));
    EXPECT_TRUE(live.run(input->scroll(0, -1)));

    EXPECT_TRUE(seen("scroll 0 1\nscroll 0 1\nscroll 0 1\nscroll 0 -1\nscroll 1 0\nscroll 1 0\nscroll -1 0"));
}

TEST_F(InputOnSway, pressesKeysWithTheirModifiers)
{
    start();
    openEvents();

    key(KEY_LEFTCTRL, true);
    key(KEY_LEFTSHIFT, true);
    key(KEY_A, true);
    key(KEY_A, false);
    key(KEY_LEFTSHIFT, false);
    key(KEY_LEFTCTRL, false);
    EXPECT_TRUE(live.run(input->type("ы")));
    key(KEY_A, true);
    key(KEY_A, false);
    live.run(input->drained());

    EXPECT_TRUE(seen("key Control_L\nkey Shift_L ctrl\nkey A ctrl shift\nrelease A ctrl shift"));
    EXPECT_TRUE(seen("key Cyrillic_yeru\nrelease Cyrillic_yeru\nkey a\nrelease a"));
}

TEST_F(InputOnSway, releasesWhatIsHeldAtItsEnd)
{
    start();
    openEvents();
    EXPECT_TRUE(live.run(input->moveTo({100, 100})));
    key(KEY_LEFTCTRL, true);
    EXPECT_TRUE(live.run(input->button(BTN_LEFT, true)));
    EXPECT_TRUE(seen("down 1"));

    input.reset();

    EXPECT_TRUE(seen("up 1"));
    EXPECT_TRUE(seen("release Control_L ctrl"));
}

TEST_F(InputOnSway, isNotReadyWithoutTheCompositor)
{
    start();
    EXPECT_TRUE(input->isReady());

    sway->kill();

    EXPECT_FALSE(live.run(input->moveTo({1, 1})));
    EXPECT_FALSE(live.run(input->key(KEY_A, true)));
    EXPECT_FALSE(live.run(input->type("a")));
    live.run(input->drained());
    EXPECT_FALSE(input->isReady());
    EXPECT_FALSE(VirtualInput::create(live.contexts()));
}

} // namespace
} // namespace zelvo::test
