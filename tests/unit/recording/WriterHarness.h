#pragma once

#include "fakes/FakeScreenSource.h"
#include "fakes/FakeScreenStreams.h"
#include "fakes/FakeVideoFiles.h"
#include "fakes/ManualClock.h"
#include "fakes/Run.h"
#include "recording/RecordingWriter.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zelvo {

/// A running recording of a screen that changes on the test's command.
class WriterHarness : public testing::Test {
public:
    RecordingOutput& begin(std::optional<std::string> connectionId = "c")
    {
        RecordingStart start;
        start.file = "/recordings/Zelvo x.mp4";
        start.connectionId = std::move(connectionId);
        start.platformName = "Acme";
        start.excludedBundleIds = {"dev.zelvo.agent", "org.keys"};
        writer = run(io, RecordingWriter::starter(services)(std::move(start)));
        return *writer;
    }

    /// Advances the clock to a time since the start.
    void goTo(Duration time) { clock.advance(Instant{} + time - clock.now()); }
    /// The screen changes at that time.
    void frameAt(Duration time, std::uint8_t shade = 128)
    {
        goTo(time);
        streams.deliver(clock.now(), shade);
        settle(io);
    }
    void frameAt(Duration time, ScreenFrame::Status status, std::optional<std::uint8_t> shade)
    {
        goTo(time);
        streams.deliver({.status = status, .time = clock.now()}, shade);
        settle(io);
    }
    void pauseAt(Duration time)
    {
        goTo(time);
        writer->pause(clock.now());
        settle(io);
    }
    void resumeAt(Duration time)
    {
        goTo(time);
        writer->resume();
        settle(io);
    }
    std::optional<FinishedRecording> finishAt(Duration time)
    {
        goTo(time);
        return run(io, writer->finish());
    }
    double recorded() { return run(io, writer->recordedSeconds()); }
    FakeVideoFiles::Video& recording() { return videos.last(); }
    std::vector<Duration> times()
    {
        std::vector<Duration> all;
        for (auto const& frame : recording().frames)
            all.push_back(frame.time);
        return all;
    }

    asio::io_context io;
    ManualClock clock{&io};
    FakeScreenSource screen;
    FakeScreenStreams streams;
    FakeVideoFiles videos;
    RecordingWriter::Services services{
        .workers = io.get_executor(), .clock = clock, .screen = screen, .streams = streams, .videos = videos};
    std::shared_ptr<RecordingOutput> writer;
};

} // namespace zelvo
