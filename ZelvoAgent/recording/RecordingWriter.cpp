#include "recording/RecordingWriter.h"

#include "base/Hop.h"
#include "wire/AgentError.h"

#include <boost/asio/post.hpp>
#include <boost/asio/strand.hpp>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <utility>

namespace zelvo {

namespace {

double seconds(Duration duration)
{
    return std::chrono::duration<double>(duration).count();
}

} // namespace

RecordingWriter::RecordingWriter(Services services, RecordingStart start)
    : services(std::move(services)), subject(std::move(start)),
      queue(asio::make_strand(this->services.workers))
{
}

Task<std::shared_ptr<RecordingOutput>> RecordingWriter::start(Services services, RecordingStart start)
{
    std::shared_ptr<RecordingWriter> const writer(new RecordingWriter(std::move(services), std::move(start)));
    co_await writer->open();
    co_return writer;
}

StartRecording RecordingWriter::starter(Services services)
{
    return [services = std::move(services)](RecordingStart start) {
        return RecordingWriter::start(services, std::move(start));
    };
}

Task<> RecordingWriter::open()
{
    std::optional<Display> const display = co_await chosenDisplay();
    if (!display)
        throw AgentError::permissionMissing;
    RecordingPlan::Size const wanted = RecordingPlan::size(static_cast<std::int64_t>(display->widthPoints),
                                                           static_cast<std::int64_t>(display->heightPoints));
    VideoSettings settings;
    settings.file = subject.file;
    settings.width = wanted.width;
    settings.height = wanted.height;
    settings.averageBitRate = RecordingPlan::bitRate(wanted.width, wanted.height);
    settings.expectedFrameRate = RecordingPlan::framesPerSecond;
    settings.maxKeyFrameInterval = RecordingPlan::maxKeyFrameInterval;
    co_await on(queue, [&] {
        size = wanted;
        video = services.videos.create(settings);
    });

    ScreenStreamRequest request;
    request.picture = {display->id, wanted.width, wanted.height, subject.excludedBundleIds};
    request.minimumFrameInterval = RecordingPlan::frameInterval;
    std::exception_ptr failure;
    try {
        stream.set(co_await services.streams.open(std::move(request), queue, weak_from_this()));
    } catch (...) {
        failure = std::current_exception();
    }
    if (!failure)
        co_return;
    co_await on(queue, [this] { std::exchange(video, nullptr)->cancel(); });
    std::rethrow_exception(failure);
}

/// The main display if it may be captured, or else the first one that may; `nullopt` if there is none.
Task<std::optional<Display>> RecordingWriter::chosenDisplay()
{
    std::vector<Display> const displays = co_await services.screen.capturableDisplays();
    std::vector<Display> const screens = services.screen.screens();
    for (Display const& display : displays)
        if (!screens.empty() && display.id == screens.front().id)
            co_return display;
    if (displays.empty())
        co_return std::nullopt;
    co_return displays.front();
}

/// Extends the last picture to now. It must not be repeated after that, because it was taken with the old
/// filter.
Task<> RecordingWriter::updateFilter(std::set<std::string> excludedBundleIds)
{
    auto const self = shared_from_this();
    StreamPtr const kept = stream.get();
    if (!kept)
        co_return;
    try {
        // The main display may have changed. Without any display the stream keeps its own and only the
        // filter changes.
        std::optional<Display> const display = co_await chosenDisplay();
        std::optional<std::uint32_t> const id = display ? std::optional(display->id) : std::nullopt;
        // No wait between the post and updateFilter(): a picture taken with the old filter in between would
        // clear `outdated`.
        asio::post(queue, [self, now = services.clock.now()] {
            self->standStillUntil(now);
            self->outdated = true;
        });
        co_await kept->updateFilter(id, std::move(excludedBundleIds));
    } catch (ScreenFailure const&) { // The old filter stays in force.
        asio::post(queue, [self] { self->outdated = false; });
    }
}

void RecordingWriter::pause(Instant at)
{
    asio::post(queue, [self = shared_from_this(), at] {
        self->standStillUntil(at);
        self->capturing = false;
        self->setWanted(false);
    });
}

void RecordingWriter::resume()
{
    asio::post(queue, [self = shared_from_this()] {
        self->capturing = true;
        self->resumed = true;
        self->setWanted(true);
    });
}

void RecordingWriter::setWanted(bool wanted)
{
    if (StreamPtr const kept = stream.get())
        kept->setWanted(wanted);
}

/// The length up to the last written frame. Does not wait for the queue.
Task<double> RecordingWriter::recordedSeconds()
{
    co_return recorded.get();
}

void RecordingWriter::frameArrived(ScreenFrame const& frame)
{
    if (!isFrame(frame))
        return;
    beginOrGoOnAt(frame.time);
    Instant const adjusted = frame.time - offset;
    if (!isDue(adjusted))
        return;
    wroteOrFailed(video->append(*frame.picture, adjusted - *firstTime), adjusted);
    outdated = false;
}

bool RecordingWriter::isFrame(ScreenFrame const& frame) const
{
    return video && capturing && !failed && frame.status == ScreenFrame::Status::complete && frame.picture &&
           RecordingPlan::Size{frame.picture->width, frame.picture->height} == size;
}

/// The first frame after a pause gets the time one frame interval after the last frame before the pause.
void RecordingWriter::beginOrGoOnAt(Instant time)
{
    if (!firstTime)
        firstTime = time;
    else if (resumed && lastTime) {
        offset = (time - *lastTime) - RecordingPlan::frameInterval;
        resumed = false;
    }
}

/// Times must increase, and a frame is dropped if the encoder is still busy with the last one.
bool RecordingWriter::isDue(Instant adjusted) const
{
    return (!lastTime || adjusted > *lastTime) && video->isReadyForMoreData();
}

void RecordingWriter::wroteOrFailed(bool wrote, Instant adjusted)
{
    if (!wrote) {
        failed = true;
        return;
    }
    lastTime = adjusted;
    recorded.set(seconds(*lastTime - *firstTime));
}

/// Repeats the last picture up to `time`, because nothing has changed since. Not right after a resume, when
/// the offset of the next frame is still unknown.
void RecordingWriter::standStillUntil(Instant time)
{
    if (!video || !capturing || failed || resumed || outdated || !lastTime)
        return;
    Instant const adjusted = time - offset;
    if (isDue(adjusted))
        wroteOrFailed(video->repeat(adjusted - *firstTime), adjusted);
}

/// The frames written so far are kept.
void RecordingWriter::streamStopped(ScreenFailure const&)
{
    failed = true;
}

Task<std::optional<FinishedRecording>> RecordingWriter::finish()
{
    auto const self = shared_from_this();
    Instant const end = services.clock.now();
    if (StreamPtr const kept = stream.get()) {
        try {
            co_await kept->stop();
        } catch (...) { // Frames that still arrive are ignored.
        }
        stream.set(nullptr);
    }
    co_return co_await on(queue, [this, end] {
        standStillUntil(end);
        capturing = false;
        return close();
    });
}

std::optional<FinishedRecording> RecordingWriter::close()
{
    std::unique_ptr<VideoFile> const closed = std::exchange(video, nullptr);
    if (!closed)
        return std::nullopt;
    if (!lastTime) {
        closed->cancel();
        return std::nullopt;
    }
    Duration const length = *lastTime + RecordingPlan::frameInterval - *firstTime;
    if (!closed->finish(length))
        return std::nullopt;
    return FinishedRecording{subject.file, subject.connectionId, subject.platformName, seconds(length)};
}

} // namespace zelvo
