#include "end_to_end/RecordingFixture.h"

#include <sys/socket.h>
#include <xcb/xcb.h>

namespace zelvo::test {
namespace {

constexpr PaintedArea pageArea{.x = 200, .y = 200, .width = 400, .height = 300};

/// The pointer has other colours than the plain window below it.
bool hasPointerAt(Pixels const& frame, int x, int y, std::uint32_t beneath)
{
    for (int dy = 0; dy < 12; ++dy)
        for (int dx = 0; dx < 8; ++dx)
            if (!isNear(colorAt(frame, x + dx, y + dy), beneath))
                return true;
    return false;
}

/// Number of different pixels in an area.
int differencesWithin(Pixels const& first, Pixels const& second, PaintedArea const& area)
{
    int found = 0;
    for (int y = area.y; y < area.y + area.height; ++y)
        for (int x = area.x; x < area.x + area.width; ++x)
            found += isNear(colorAt(first, x, y), colorAt(second, x, y)) ? 0 : 1;
    return found;
}

/// The server's process id.
pid_t serverOf(xcb_connection_t* connection)
{
    ucred peer{};
    socklen_t size = sizeof peer;
    ::getsockopt(xcb_get_file_descriptor(connection), SOL_SOCKET, SO_PEERCRED, &peer, &size);
    return peer.pid;
}

TEST_F(Recording, showsTheClickWhereItHappened)
{
    connection = startUnattended();
    auto const page = painter.open({.x = pageArea.x,
                                    .y = pageArea.y,
                                    .width = pageArea.width,
                                    .height = pageArea.height,
                                    .color = 0xf0e080,
                                    .overrideRedirect = true});

    EXPECT_EQ(codeOf(perform({clickAt(300, 300)})), "ok");
    letItRun();
    painter.paint(page, 0x40c040); // The page reacts.
    letItRun();
    EXPECT_EQ(codeOf(perform({clickAt(450, 400)})), "ok");
    letItRun();
    PlayedRecording const recording = onlyRecording();

    EXPECT_EQ(recording.facts.codec, "h264");
    EXPECT_EQ(recording.facts.profile, "High");
    EXPECT_EQ(recording.facts.width, 1280);
    EXPECT_EQ(recording.facts.height, 1024);
    EXPECT_TRUE(
        std::ranges::is_sorted(recording.facts.packets, std::ranges::less_equal(), &VideoPacket::time));
    EXPECT_GE(recording.facts.duration, 1.0);
    ASSERT_GE(recording.frames.size(), 3u);
    EXPECT_TRUE(isNear(colorAt(recording.frames.front(), 220, 220), 0xf0e080));
    EXPECT_TRUE(isNear(colorAt(recording.frames.back(), 220, 220), 0x40c040));
    EXPECT_TRUE(hasPointerAt(recording.frames.back(), 450, 400, 0x40c040));
    EXPECT_FALSE(hasPointerAt(recording.frames.back(), 300, 300, 0x40c040));
    auto const isFirstClick = [](Pixels const& frame) { return hasPointerAt(frame, 300, 300, 0xf0e080); };
    EXPECT_TRUE(std::ranges::any_of(recording.frames, isFirstClick));
}

TEST_F(Recording, neverShowsWhatIsHidden)
{
    auto const program = desktop.home() / "hushhush";
    agent.store("dev.zelvo.hiddenApps", json::array{"hushhush"});
    connection = startUnattended();
    PainterProcess hidden(desktop, program);
    painter.open({.x = 900, .y = 100, .width = 200, .height = 200, .color = 0xf0e080, .title = "shown"});

    EXPECT_EQ(codeOf(perform({clickAt(1000, 200)})), "ok");
    auto const window =
        hidden.open({.x = 100, .y = 100, .width = 300, .height = 300, .color = secret, .title = "hidden"});
    for (int step = 0; step < 20; ++step) {
        hidden.move(window, 100 + 20 * step, 100 + 15 * step);
        hidden.raise(window);
        waitFor([] { return false; }, 60ms);
    }
    PlayedRecording const recording = onlyRecording();

    EXPECT_GE(recording.frames.size(), 1u);
    expectWithout(recording, secret);
    EXPECT_GT(pixelsLike(recording.frames.back(), 0xf0e080), 10000);
}

TEST_F(Recording, leavesOutWhatIsHiddenInItsMiddle)
{
    auto const program = desktop.home() / "hushhush";
    connection = startUnattended();
    PainterProcess other(desktop, program);
    other.open({.x = 100, .y = 100, .width = 300, .height = 300, .color = secret, .title = "hidden soon"});

    EXPECT_EQ(codeOf(perform({clickAt(1000, 800)})), "ok");
    letItRun();
    agent.store("dev.zelvo.hiddenApps", json::array{"hushhush"});
    EXPECT_EQ(codeOf(perform({clickAt(1010, 800)})), "ok");
    painter.open(
        {.x = 900, .y = 100, .width = 50, .height = 50, .color = 0x40c040, .overrideRedirect = true});
    letItRun();
    PlayedRecording const recording = onlyRecording();

    EXPECT_GT(pixelsLike(recording.frames.front(), secret), 10000);
    EXPECT_EQ(pixelsLike(recording.frames.back(), secret), 0);
}

TEST_F(Recording, neverShowsOurOwnWindows)
{
    connection = linkByReturn({"screen", "input"});
    waitFor([&] { return mayAct(connection); });
    openLetter(Toolkit::gtk3);
    json::value const send = clickOn("AXButton", "Send");

    EXPECT_EQ(codeOf(perform({json::object{{"type", "type"}, {"text", "x"}}})), "ok"); // The recording runs.
    auto answer = performing({send});
    PaintedArea const place = placeOf(waitForPanel());
    letItRun();
    Pixels const withPanel = pixelsOfRoot(painter.x());
    press("Escape");
    EXPECT_EQ(codeOf(answer.get()), "denied_by_user");
    letItRun();
    Pixels const without = pixelsOfRoot(painter.x());
    PlayedRecording const recording = onlyRecording();

    int const size = place.width * place.height;
    EXPECT_GT(differencesWithin(withPanel, without, place), size / 8); // The letter below is grey too.
    ASSERT_GE(recording.frames.size(), 2u);
    for (Pixels const& frame : recording.frames)
        EXPECT_LT(differencesWithin(frame, without, place), size / 50);
}

TEST_F(Recording, playsUpToWhereTheProcessWasKilled)
{
    connection = startUnattended();
    EXPECT_EQ(codeOf(perform({clickAt(300, 300)})), "ok");
    letItRun();
    painter.open({.x = 100, .y = 100, .width = 300, .height = 300, .color = 0x40c040, .title = "late"});
    letItRun();

    agent.kill();

    ASSERT_EQ(recordings().size(), 1u);
    PlayedRecording const recording(desktop, recordings().front());
    ASSERT_GE(recording.frames.size(), 2u);
    EXPECT_EQ(pixelsLike(recording.frames.front(), 0x40c040), 0);
    EXPECT_GT(pixelsLike(recording.frames.back(), 0x40c040), 10000);
}

TEST_F(Recording, playsUpToWhereTheDisplayWentAway)
{
    connection = startUnattended();
    EXPECT_EQ(codeOf(perform({clickAt(300, 300)})), "ok");
    letItRun();

    ::kill(serverOf(painter.x()), SIGTERM);

    EXPECT_TRUE(waitFor([&] { return !agent.isRunning(); }, 20s)); // No client could show anything any more.
    ASSERT_EQ(recordings().size(), 1u);
    EXPECT_GE(PlayedRecording(desktop, recordings().front()).frames.size(), 1u);
}

TEST_F(Recording, isOffUnlessThePersonWantsIt)
{
    agent.store("zelvo.recording.mode", "off");
    connection = startUnattended();

    EXPECT_EQ(codeOf(perform({clickAt(300, 300)})), "ok");
    letItRun();
    EXPECT_EQ(agent.end(SIGTERM), 0);

    EXPECT_FALSE(std::filesystem::exists(folder()));
}

TEST_F(Recording, aLookAloneRecordingsNothing)
{
    connection = startUnattended();

    resultOf("screenshot");
    letItRun();
    EXPECT_EQ(agent.end(SIGTERM), 0);

    EXPECT_TRUE(recordings().empty());
}

TEST_F(Recording, goesToThePlatformOnlyAfterAYes)
{
    agent.store("zelvo.recording.mode", "share");
    linkSwitchingOnLast({"screen", "input", "record"});
    waitFor([&] { return mayAct(connection); });
    auto const shared = [&] { return gateway.ask("GET", "/v1/recordings").body.at("data").as_array(); };

    EXPECT_EQ(codeOf(perform({clickAt(300, 300)})), "ok");
    letItRun();
    press("ctrl+alt+super+p"); // A pause ends the recording, and the question appears.
    waitForPanel();
    EXPECT_TRUE(shared().empty());
    answerPanel("Return");

    ASSERT_TRUE(
        waitFor([&] { return shared().size() == 1 && shared().front().at("status") == "ready"; }, 20s))
        << writeJson(shared());
    EXPECT_EQ(recordings().size(), 1u); // It stays here too.
    EXPECT_TRUE(waitFor([&] {           // The gateway is ready before the agent has its answer.
        auto const lines = agent.activity();
        return std::ranges::find(lines, "Recording shared with the platform") != lines.end();
    }));
}

TEST_F(Recording, staysHereAfterANo)
{
    agent.store("zelvo.recording.mode", "share");
    linkSwitchingOnLast({"screen", "input", "record"});
    waitFor([&] { return mayAct(connection); });

    EXPECT_EQ(codeOf(perform({clickAt(300, 300)})), "ok");
    letItRun();
    press("ctrl+alt+super+p");
    answerPanel("Escape");

    EXPECT_EQ(agent.end(SIGTERM), 0);
    EXPECT_TRUE(gateway.ask("GET", "/v1/recordings").body.at("data").as_array().empty());
    EXPECT_EQ(recordings().size(), 1u);
}

} // namespace
} // namespace zelvo::test
