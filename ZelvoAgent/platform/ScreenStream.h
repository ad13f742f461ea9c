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
    Instant time;                     ///< when the screen looked like this
    Picture const* picture = nullptr; ///< lent until the call returns; null when there is none
};

/// Takes what a stream delivers. Thread: the queue that the stream was opened with.
class ScreenStreamOutput {
public:
    virtual ~ScreenStreamOutput() = default;
    /// The next picture is taken only after this has returned: what changes meanwhile comes as one frame.
    virtual void frameArrived(ScreenFrame const& frame) = 0;
    /// The stream ended by itself; nothing more comes.
    virtual void streamStopped(ScreenFailure const& failure) = 0;
};

/// Pictures of a display that changes, leaving out whole applications before a picture exists. Ends with its
/// object. Thread: any.
class ScreenStream {
public:
    virtual ~ScreenStream() = default;
    /// From the next picture on shows this display, where one is named, and leaves out these applications.
    /// That picture comes at once, changed or not. Throws ScreenFailure.
    virtual Task<> updateFilter(std::optional<std::uint32_t> display, std::set<std::string> excluded) = 0;
    /// While no frames are wanted the screen is not read. Once they are again a picture comes at once,
    /// changed or not.
    virtual void setWanted(bool wanted) = 0;
    /// Once it is over nothing more is delivered.
    virtual Task<> stop() = 0;
};

/// Opens streams. A stream delivers its first picture at once and further ones when something has changed.
/// Thread: any. Made by: platform/linux/x11/capture/X11ScreenStreams, tests/fakes/FakeScreenStreams.
class ScreenStreams {
public:
    virtual ~ScreenStreams() = default;
    /// queue: runs one thing at a time and may block; output is told there for as long as it exists. Throws
    /// ScreenFailure.
    virtual Task<std::unique_ptr<ScreenStream>>
    open(ScreenStreamRequest request, Executor queue, std::weak_ptr<ScreenStreamOutput> output) = 0;
};

} // namespace zelvo
