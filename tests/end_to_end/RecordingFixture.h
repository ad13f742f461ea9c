#pragma once

#include "desktop/harness/Painter.h"
#include "desktop/harness/PainterProcess.h"
#include "end_to_end/CommandsFixture.h"
#include "end_to_end/PlayedRecording.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <vector>

namespace zelvo::test {

constexpr std::uint32_t ground = 0x336699;
constexpr std::uint32_t secret = 0xe01fd0; ///< colour that must be in no recording

/// Agents' actions while a recording runs.
class Recording : public Commands {
protected:
    void SetUp() override
    {
        agent.store("zelvo.recording.mode", "local");
        painter.paintRoot(ground);
        painter.movePointer(1200, 1000);
    }

    static json::value clickAt(int x, int y) { return {{"type", "click"}, {"x", x}, {"y", y}}; }
    /// Recordings run in real time: waits long enough for a few frames.
    static void letItRun()
    {
        waitFor([] { return false; }, 500ms);
    }

    /// A window's place, without its frame.
    PaintedArea placeOf(std::uint32_t window)
    {
        std::string const said =
            desktop.run({"xdotool", "getwindowgeometry", "--shell", std::to_string(window)});
        auto const number = [&](std::string const& name) {
            return std::stoi(said.substr(said.find("\n" + name + "=") + name.size() + 2));
        };
        return {.x = number("X"), .y = number("Y"), .width = number("WIDTH"), .height = number("HEIGHT")};
    }

    std::filesystem::path folder() const { return desktop.home() / "Videos" / "Zelvo"; }
    /// The closed recordings, oldest first.
    std::vector<std::filesystem::path> recordings() const
    {
        std::vector<std::filesystem::path> found;
        if (std::filesystem::exists(folder()))
            for (auto const& entry : std::filesystem::directory_iterator(folder()))
                found.push_back(entry.path());
        std::ranges::sort(found);
        return found;
    }
    /// The one recording after the agent's end.
    PlayedRecording onlyRecording()
    {
        EXPECT_EQ(agent.end(SIGTERM), 0) << agent.output();
        if (recordings().size() != 1)
            throw std::runtime_error("there are " + std::to_string(recordings().size()) + " recordings");
        return {desktop, recordings().front()};
    }
    static void expectWithout(PlayedRecording const& recording, std::uint32_t color)
    {
        for (std::size_t at = 0; at < recording.frames.size(); ++at)
            EXPECT_EQ(pixelsLike(recording.frames[at], color), 0) << "frame " << at;
    }

    Painter painter{desktop.display()};
};

} // namespace zelvo::test
