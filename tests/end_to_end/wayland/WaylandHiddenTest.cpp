#include "end_to_end/wayland/WaylandFixture.h"

#include <csignal>

namespace zelvo::test {
namespace {

/// An application that the person hides, on each desktop.
class WaylandHidden : public OnWayland {
protected:
    void begin()
    {
        agent->store("dev.zelvo.hiddenApps", json::array{hidden});
        startUnattended();
        openWriter("letter", shown);
        waitForFront("letter");
    }
    bool isRefused() { return failureOf("screenshot") == "hidden_app_active"; }
    static json::object clickInTheMiddle()
    {
        return {{"type", "click"}, {"x", WaylandMachine::width / 2}, {"y", WaylandMachine::height / 2}};
    }
};

/// Where pictures are composed of windows.
class WaylandHiddenWindows : public WaylandHidden {
protected:
    static constexpr int pictures = 60;
    std::optional<Pixels> pictureIfAny()
    {
        Answer const answer = command("screenshot", {{"format", "png"}});
        if (answer.status == 200)
            return pixelsIn(answer.body.at("result"));
        EXPECT_EQ(codeOf(answer), "internal_error");
        return std::nullopt;
    }
};
/// Where pictures show whole monitors.
class WaylandHiddenProgram : public WaylandHidden {};

TEST_P(WaylandHiddenWindows, areInNoPictureWhateverTheyDo)
{
    begin();
    pid_t const restless = openWriter(hidden, secret, {"restless"});

    require("the letter's picture", [&] { return pixelsLike(picture(), shown) > 10000; });
    int withLetter = 0;
    int refusals = 0; // The windows may change faster than pictures can be taken.
    for (int count = 0; count < pictures; ++count) {
        auto const seen = pictureIfAny();
        refusals += !seen;
        ASSERT_EQ(seen ? pixelsLike(*seen, secret) : 0, 0) << "picture " << count;
        withLetter += seen && pixelsLike(*seen, shown) > 10000;
    }
    EXPECT_LT(refusals, pictures / 2);

    // GNOME leaves the places of hidden windows black, KWin shows what is below.
    EXPECT_GE(withLetter, GetParam() == Compositor::gnome ? 1 : pictures - refusals);
    EXPECT_TRUE(desktop().processes().isRunning(restless));
    desktop().processes().end(restless, SIGTERM);
    openWriter("openly", secret); // The same window under another name is there.
    EXPECT_TRUE(waitFor([&] { return pixelsLike(picture(), secret) > 10000; }));
}

TEST_P(WaylandHiddenProgram, stopsPicturesWhileItRuns)
{
    begin();
    EXPECT_TRUE(waitFor([&] { return pixelsLike(picture(), shown) > 10000; }));

    pid_t const program = openWriter(hidden, secret);
    EXPECT_TRUE(isRefused());
    for (int count = 0; count < 20; ++count)
        ASSERT_TRUE(isRefused());

    desktop().processes().end(program, SIGTERM);
    EXPECT_TRUE(waitFor([&] { return !isRefused(); }));
    EXPECT_EQ(pixelsLike(picture(), secret), 0);
}

TEST_P(WaylandHidden, getsNoClickAndNoText)
{
    begin();
    pid_t const program = openWriter(hidden, secret, {"fullscreen"});
    EXPECT_TRUE(waitFor([&] { return perform({clickInTheMiddle()}) == "hidden_app_active"; }));

    EXPECT_EQ(perform({clickInTheMiddle()}), "hidden_app_active");
    EXPECT_NE(perform({typing("secret")}), "ok");
    EXPECT_NE(perform({json::object{{"type", "key"}, {"keys", json::array{"ctrl", "v"}}}}), "ok");

    // What was sent before has arrived when what is sent now has.
    desktop().processes().end(program, SIGTERM);
    waitForFront("letter");
    EXPECT_EQ(perform({clickOn("AXButton", "Print")}), "ok");
    std::string const got = said(program);
    for (char const* const event : {"press", "key", "text"})
        EXPECT_EQ(got.find(event), std::string::npos) << got;
}

INSTANTIATE_TEST_SUITE_P(,
                         WaylandHiddenWindows,
                         testing::Values(Compositor::kwin, Compositor::gnome),
                         nameOfCompositor);
INSTANTIATE_TEST_SUITE_P(, WaylandHiddenProgram, testing::Values(Compositor::sway), nameOfCompositor);
INSTANTIATE_TEST_SUITE_P(,
                         WaylandHidden,
                         testing::Values(Compositor::sway, Compositor::kwin, Compositor::gnome),
                         nameOfCompositor);

} // namespace
} // namespace zelvo::test
