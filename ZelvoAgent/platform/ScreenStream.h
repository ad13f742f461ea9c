#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "base/Task.h"
#include "platform/ScreenSource.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace zelvo {

struct ScreenStreamRequest {
    CaptureRequest picture;          ///< what each picture shows
    Duration minimumFrameInterval{}; ///< from one picture to the next
};

/// One delivery of a stream.
struct ScreenFrame {
    enum class Status { complete, idle, blank };

    Status status = Status::complete;
    Instant time;                     ///< when the screen had this content
    Picture const* picture = nullptr; ///< borrowed until the call returns; null if there is none
};

/// Receives what a stream delivers. Thread: the queue that the stream was opened with.
class ScreenStreamOutput {
public:
    virtual ~ScreenStreamOutput() = default;
    /// The stream takes the next picture only after this returns; all changes meanwhile arrive as one frame.
    virtual void frameArrived(ScreenFrame const& frame) = 0;
    /// The stream ended by itself; no more calls follow.
    virtual void streamStopped(ScreenFailure const& failure) = 0;
};

/// Pictures of a changing display. Excluded applications are left out before any pixel is read. Destroying
/// the object ends the stream. Thread: any.
class ScreenStream {
public:
    virtual ~ScreenStream() = default;
    /// Changes the display, if one is given, and the excluded applications for all further pictures. The next
    /// picture arrives at once, changed or not. Throws ScreenFailure.
    virtual Task<> updateFilter(std::optional<std::uint32_t> display, std::set<std::string> excluded) = 0;
    /// While no frames are wanted the screen is not read. When they are wanted again, a picture arrives at
    /// once, changed or not.
    virtual void setWanted(bool wanted) = 0;
    /// After it nothing more is delivered.
    virtual Task<> stop() = 0;
};

/// Opens streams. A stream delivers its first picture at once and further ones when something changes.
/// Thread: any. Made by: platform/linux/x11/capture/X11ScreenStreams, tests/fakes/FakeScreenStreams.
class ScreenStreams {
public:
    virtual ~ScreenStreams() = default;
    /// queue   runs one task at a time and may block
    /// output  called on `queue` for as long as it exists
    /// Throws ScreenFailure.
    virtual Task<std::unique_ptr<ScreenStream>>
    open(ScreenStreamRequest request, Executor queue, std::weak_ptr<ScreenStreamOutput> output) = 0;
};

} // namespace zelvo
