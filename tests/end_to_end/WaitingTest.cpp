#include "desktop/harness/Painter.h"
#include "desktop/harness/PainterProcess.h"
#include "end_to_end/CommandsFixture.h"
#include "end_to_end/Pixels.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <thread>

namespace zelvo::test {
namespace {

using Clock = std::chrono::steady_clock;

/// A window that is drawn anew twenty times a second, as long as this exists.
class RestlessWindow {
public:
    explicit RestlessWindow(PainterProcess& painter)
        : painter(painter), window(painter.open({.x = 700, .y = 500, .width = 300, .height = 300}))
    {
    }
    RestlessWindow(RestlessWindow const&) = delete;
    RestlessWindow& operator=(RestlessWindow const&) = delete;
    ~RestlessWindow()
    {
        isOver = true;
        thread.join();
    }

private:
    void draw()
    {
        for (std::uint32_t color = 0; !isOver; color += 0x10305) {
            painter.paint(window, color & 0xffffff);
            std::this_thread::sleep_for(50ms);
        }
    }

    PainterProcess& painter;
    std::uint32_t const window;
    std::atomic<bool> isOver = false;
    std::thread thread{[this] { draw(); }};
};

class Waiting : public Commands {
protected:
    /// Starts an application and waits until it is in front.
    void showEditor()
    {
        desktop.start({"mousepad", "--disable-server"});
        auto const editor = desktop.waitForWindow({.className = "mousepad"});
        require("the editor in front", [&] { return desktop.activeWindow() == editor; });
    }
    /// A command that runs when this returns; nothing outside shows when exactly that begins.
    std::future<Answer> running(std::string method, json::object params)
    {
        auto answer = commanding(std::move(method), std::move(params));
        EXPECT_EQ(answer.wait_for(700ms), std::future_status::timeout);
        return answer;
    }
    static void expectSoon(std::future<Answer>& answer, std::chrono::milliseconds longest)
    {
        EXPECT_EQ(answer.wait_for(longest), std::future_status::ready) << "the wait goes on";
    }
    static Pixels part(Pixels const& whole, PaintedArea area)
    {
        constexpr std::ptrdiff_t bytesAPixel = 3;
        Pixels cut{.width = area.width, .height = area.height, .bytes = {}};
        for (int y = area.y; y < area.y + area.height; ++y) {
            auto const row = whole.bytes.begin() + bytesAPixel * (std::ptrdiff_t{y} * whole.width + area.x);
            cut.bytes.insert(cut.bytes.end(), row, row + bytesAPixel * area.width);
        }
        return cut;
    }
    static std::int64_t elapsedMs(json::value const& result) { return result.at("elapsedMs").as_int64(); }
};

struct LongWait {
    char const* method;
    char const* params;
};

class WaitingLong : public Waiting, public testing::WithParamInterface<LongWait> {
protected:
    std::future<Answer> runningLong()
    {
        return running(GetParam().method, parseJson(GetParam().params)->as_object());
    }
};

TEST_P(WaitingLong, aPauseEndsItAtOnce)
{
    connection = linkByReturn({"screen"});
    showEditor();
    auto answer = runningLong();

    press("ctrl+alt+super+p");

    expectSoon(answer, 2s);
    EXPECT_EQ(codeOf(answer.get()), "machine_paused");
}

TEST_P(WaitingLong, aLockEndsItAtOnce)
{
    connection = startUnattended();
    showEditor();
    auto answer = runningLong();

    desktop.start({"/usr/bin/python3", ZELVO_SCREEN_SAVER});

    expectSoon(answer, 5s); // The screen saver has to start.
    json::value const error = answer.get().body.at("error");
    EXPECT_EQ(error.at("code"), "machine_unavailable");
    EXPECT_EQ(error.at("details").at("reason"), "screen_locked");
}

INSTANTIATE_TEST_SUITE_P(All,
                         WaitingLong,
                         testing::Values(LongWait{"screen.settle", R"({"quietMs":10000,"timeoutMs":30000})"},
                                         LongWait{"ui.wait",
                                                  R"({"name":"No such element","timeoutMs":30000})"}),
                         [](auto const& test) { return test.param.method[0] == 's' ? "screen" : "element"; });

TEST_F(Waiting, isOverWhenADialogHasOpenedAndItsElementCanBeClicked)
{
    connection = startUnattended();
    showEditor();
    auto opened = running("ui.wait", {{"role", "AXButton"}, {"name", "CANCEL"}, {"timeoutMs", 30'000}});

    auto const before = Clock::now();
    press("ctrl+o");

    expectSoon(opened, 10s);
    EXPECT_LT(Clock::now() - before, 5s);
    json::value const found = opened.get().body.at("result");
    ASSERT_EQ(found.at("matched"), true);
    EXPECT_EQ(found.at("element").at("title"), "Cancel");

    json::array const click{json::object{{"type", "click_element"},
                                         {"snapshotId", found.at("snapshotId")},
                                         {"elementId", found.at("element").at("id")}}};
    ASSERT_EQ(failureOf("actions.perform", {{"actions", click}}), "ok");
    json::value const gone =
        resultOf("ui.wait", {{"role", "AXButton"}, {"name", "Cancel"}, {"until", "disappears"}});
    EXPECT_EQ(gone.at("matched"), true);
    EXPECT_FALSE(gone.as_object().contains("element"));
}

TEST_F(Waiting, isOverWhenATextHasBeenTyped)
{
    connection = startUnattended();
    desktop.start({"zenity", "--entry", "--text", "Q"});
    auto const dialog = desktop.waitForWindow({.className = "zenity"});
    require("the dialog in front", [&] { return desktop.activeWindow() == dialog; });
    auto typed = running(
        "ui.wait", {{"role", "AXTextField"}, {"until", "value"}, {"value", "bread"}, {"timeoutMs", 30'000}});

    desktop.run({"xdotool", "type", "bread"});

    expectSoon(typed, 5s);
    EXPECT_EQ(typed.get().body.at("result").at("element").at("value"), "bread");
}

TEST_F(Waiting, isOverWhenAButtonOfQtHasTheFocus)
{
    connection = startUnattended();
    TestApplication const form = test::form(desktop, Toolkit::qt);
    desktop.start(form.command);
    auto const window = desktop.waitForWindow(form.window);
    require("the form in front", [&] { return desktop.activeWindow() == window; });
    json::object const toggle{
        {"role", "AXCheckBox"}, {"name", "toggle"}, {"until", "focused"}, {"timeoutMs", 30'000}};
    auto focused = running("ui.wait", toggle);

    for (int i = 0; i < 40 && focused.wait_for(150ms) != std::future_status::ready; ++i)
        press("Tab");

    ASSERT_EQ(focused.wait_for(0s), std::future_status::ready);
    EXPECT_EQ(focused.get().body.at("result").at("element").at("focused"), true);
}

TEST_F(Waiting, hiddenApplicationsBehindTheFrontOneMatchNothing)
{
    agent.store("dev.zelvo.hiddenApps", json::array{"zenity"});
    connection = startUnattended();
    desktop.start({"zenity", "--progress", "--pulsate", "--title", "Secret", "--text", "Secret words"});
    desktop.waitForWindow({.className = "zenity"});
    showEditor();

    for (char const* const scope : {"frontmost", "all_windows"}) {
        json::value const result =
            resultOf("ui.wait", {{"name", "secret"}, {"scope", scope}, {"timeoutMs", 1'500}});
        EXPECT_EQ(result.at("matched"), false) << scope;
        EXPECT_LT(elapsedMs(result), 3'500) << scope;
    }
    EXPECT_EQ(resultOf("ui.wait", {{"name", "file"}}).at("matched"), true);
}

TEST_F(Waiting, aHiddenApplicationThatComesToTheFrontEndsTheWait)
{
    agent.store("dev.zelvo.hiddenApps", json::array{"zenity"});
    connection = startUnattended();
    showEditor();
    auto answer = running("ui.wait", {{"name", "Secret words"}, {"timeoutMs", 30'000}});

    desktop.start({"zenity", "--info", "--text", "Secret words"});

    expectSoon(answer, 10s);
    EXPECT_EQ(codeOf(answer.get()), "hidden_app_active");
}

TEST_F(Waiting, theScreenRestsOnlyWhenAShownWindowDoes)
{
    connection = startUnattended();
    PainterProcess painter(desktop);
    json::object const params{{"quietMs", 300}, {"timeoutMs", 1'500}};
    {
        RestlessWindow const restless(painter);
        json::value const busy = resultOf("screen.settle", params);
        EXPECT_EQ(busy.at("settled"), false);
        EXPECT_GE(elapsedMs(busy), 1'500);
        json::object elsewhere = params;
        elsewhere["region"] = {{"x", 10}, {"y", 10}, {"w", 200}, {"h", 200}};
        EXPECT_EQ(resultOf("screen.settle", elsewhere).at("settled"), true);
    }
    EXPECT_EQ(resultOf("screen.settle", params).at("settled"), true);
}

TEST_F(Waiting, theScreenRestsWhileAHiddenWindowDoesNot)
{
    agent.store("dev.zelvo.hiddenApps", json::array{"hushhush"});
    connection = startUnattended();
    PainterProcess hidden(desktop, desktop.home() / "hushhush");
    RestlessWindow const restless(hidden);
    EXPECT_EQ(resultOf("screen.settle").at("settled"), true);
}

TEST_F(Waiting, theScreenRestsWhateverIsDrawnOnItsBackground)
{
    connection = startUnattended();
    Painter painter(desktop.display());
    auto answer = commanding("screen.settle", {{"quietMs", 1'000}, {"timeoutMs", 3'000}});
    for (std::uint32_t color = 0; answer.wait_for(50ms) != std::future_status::ready; color += 0x10305)
        painter.paintRoot(color & 0xffffff);
    EXPECT_EQ(answer.get().body.at("result").at("settled"), true);
}

TEST_F(Waiting, aRegionIsShownAtFullResolutionWithoutHiddenWindows)
{
    agent.store("dev.zelvo.hiddenApps", json::array{"hushhush"});
    connection = startUnattended();
    Painter painter(desktop.display());
    painter.paintRoot(0x336699);
    painter.open(
        {.x = 100, .y = 100, .width = 300, .height = 200, .color = 0xcc2244, .overrideRedirect = true});
    painter.movePointer(1200, 1000);
    Pixels const root = pixelsOfRoot(painter.x());
    PainterProcess hidden(desktop, desktop.home() / "hushhush");
    hidden.open(
        {.x = 350, .y = 250, .width = 200, .height = 200, .color = 0xffffff, .overrideRedirect = true});

    json::object const region{{"x", 330}, {"y", 230}, {"w", 120}, {"h", 90}};
    json::value const result = resultOf("screenshot", {{"format", "png"}, {"region", region}});

    EXPECT_EQ(result.at("region"), json::value(region));
    EXPECT_EQ(result.at("scale"), 1);
    EXPECT_EQ(result.at("widthPoints"), 1280);
    Pixels const seen = pixelsOf(*base64::decode(std::string(result.at("data").as_string())), "image/png");
    ASSERT_EQ(seen.width, 120);
    ASSERT_EQ(seen.height, 90);
    EXPECT_EQ(differences(seen, part(root, {.x = 330, .y = 230, .width = 120, .height = 90}), {}, 0), 0);
    EXPECT_EQ(failureOf("screenshot", {{"region", {{"x", 1280}, {"y", 0}, {"w", 5}, {"h", 5}}}}),
              "invalid_request");
}

} // namespace
} // namespace zelvo::test
