#include "recording/SessionRecorder.h"

#include "base/Hop.h"
#include "platform/RunningApplication.h"
#include "platform/ScreenSource.h"
#include "platform/VideoFile.h"
#include "recording/RecordingFolder.h"
#include "recording/RecordingPlan.h"
#include "wire/AgentError.h"

#include <boost/asio/post.hpp>
#include <boost/asio/strand.hpp>

#include <exception>
#include <utility>

namespace zelvo {

namespace {

/// The text of the failure that prevented a recording.
std::string reasonOf(std::exception_ptr failure)
{
    try {
        std::rethrow_exception(std::move(failure));
    } catch (AgentError error) {
        return std::string(defaultMessage(error));
    } catch (ScreenFailure const& error) {
        return error.reason;
    } catch (VideoFailure const& error) {
        return error.reason;
    } catch (std::exception const& error) {
        return error.what();
    } catch (...) {
        return "unknown failure";
    }
}

} // namespace

std::shared_ptr<SessionRecorder> SessionRecorder::create(Services services)
{
    return std::shared_ptr<SessionRecorder>(new SessionRecorder(std::move(services)));
}

SessionRecorder::SessionRecorder(Services services)
    : services(std::move(services)), strand(asio::make_strand(this->services.contexts.agent))
{
}

/// Also false during a pause: an action that a pause overtakes has no effect, so there is nothing to record.
bool SessionRecorder::mayRecord() const
{
    bool const isPaused = services.isPaused && services.isPaused();
    return !isPaused && services.settings.mode() != RecordingMode::off &&
           services.access.current().screenRecording;
}

/// The work is a separate task, so it continues if the caller is cancelled or stops waiting.
Task<> SessionRecorder::agentActed(std::optional<std::string> connectionId, std::string platformName)
{
    if (!mayRecord())
        co_return;
    if (isLate.get()) {
        asio::post(strand, [self = shared_from_this(), connectionId] { self->giveUpFor(connectionId); });
        co_return;
    }
    auto const isOver = std::make_shared<bool>(false); // under the lock of `holds`
    spawn(strand,
          [self = shared_from_this(), isOver, connectionId = std::move(connectionId),
           platformName = std::move(platformName)]() -> Task<> {
              co_await self->act(connectionId, platformName);
              self->endHold(*isOver);
              self->isLate.set(false);
          });
    TaskHandle patience = spawn(strand, [self = shared_from_this(), isOver]() -> Task<> {
        co_await self->services.clock.sleep(maxHold);
        if (self->holds.with([&] { return *isOver; }))
            co_return;
        self->isLate.set(true);
        self->endHold(*isOver);
    });
    auto const ended = [&] { return *isOver; };
    while (!holds.with(ended))
        co_await holds.wait(ended);
    patience.cancel();
}

void SessionRecorder::endHold(bool& isOver)
{
    holds.notifyAll([&] { isOver = true; });
}

/// A recording that starts late for one connection must not show another connection's actions.
void SessionRecorder::giveUpFor(std::optional<std::string> const& connectionId)
{
    if (!isActing || actingFor == connectionId)
        return;
    ++finishes;
    closeInBackground(takeWriter());
}

Task<> SessionRecorder::act(std::optional<std::string> connectionId, std::string platformName)
{
    AsyncMutex::Lock const lock = co_await actions.lock();
    isActing = true;
    actingFor = connectionId;
    try {
        co_await actAlone(std::move(connectionId), std::move(platformName));
    } catch (...) { // An action never fails for the recorder's sake.
    }
    isActing = false;
}

/// Checks the state again after each wait: a countdown or the person may have ended the recording.
Task<> SessionRecorder::actAlone(std::optional<std::string> connectionId, std::string platformName)
{
    if (isQuitting || !mayRecord())
        co_return;
    std::uint64_t const asked = finishes;
    pauseIfOverdue();
    if (WriterPtr const open = writer; open && co_await isToEnd(open, connectionId) && writer == open)
        closeInBackground(takeWriter());
    if (writer)
        co_await refreshFilterIfNeeded();
    if (asked != finishes)
        co_return;
    if (!writer)
        co_await start(std::move(connectionId), std::move(platformName));
    if (!writer)
        co_return;
    if (!capturing) {
        writer->resume();
        setCapturing(true);
    }
    scheduleIdle();
}

/// A recording belongs to one connection and has a maximum length.
Task<bool> SessionRecorder::isToEnd(WriterPtr open, std::optional<std::string> connectionId)
{
    if (open->connectionId() != connectionId)
        co_return true;
    co_return co_await open->recordedSeconds() >= RecordingPlan::maxSegmentSeconds;
}

Task<> SessionRecorder::agentLooked()
{
    if (!isRecording())
        co_return;
    auto const self = shared_from_this();
    co_await on(strand, [this] {
        pauseIfOverdue();
        if (writer && capturing)
            scheduleIdle();
    });
}

Task<> SessionRecorder::start(std::optional<std::string> connectionId, std::string platformName)
{
    std::uint64_t const asked = finishes;
    openedFile();
    RecordingStart request;
    request.connectionId = std::move(connectionId);
    request.platformName = std::move(platformName);
    Begun begun = co_await begin(std::move(request));
    if (!begun.writer) {
        closedFile();
        co_return;
    }
    if (asked != finishes) {
        closeInBackground(std::move(begun.writer));
        co_return;
    }
    writer = std::move(begun.writer);
    excludedSnapshot = std::move(begun.excluded);
    setCapturing(true);
}

/// On failure it logs a line and returns no writer.
Task<SessionRecorder::Begun> SessionRecorder::begin(RecordingStart request)
{
    Begun begun;
    std::exception_ptr failure;
    try {
        begun.excluded = co_await excludedBundleIds();
        request.excludedBundleIds = begun.excluded;
        request.file = co_await on(services.contexts.workers, [&] {
            std::filesystem::path const folder = recordingFolder(services.folders);
            services.folders.make(folder);
            return freeRecordingPath(services.folders, folder,
                                     RecordingPlan::fileName(services.clock.date(), request.platformName));
        });
        begun.writer = co_await services.startWriter(std::move(request));
    } catch (...) {
        failure = std::current_exception();
    }
    if (failure && services.log)
        services.log("Zelvo: recording did not start: " + reasonOf(std::move(failure)));
    co_return begun;
}

Task<std::set<std::string>> SessionRecorder::excludedBundleIds()
{
    std::set<std::string> excluded;
    if (services.hiddenBundleIds)
        excluded = co_await services.hiddenBundleIds();
    excluded.insert(ownBundleIdentifier);
    co_return excluded;
}

Task<> SessionRecorder::refreshFilterIfNeeded()
{
    std::set<std::string> const excluded = co_await excludedBundleIds();
    WriterPtr const open = writer;
    if (!open || excluded == excludedSnapshot)
        co_return;
    excludedSnapshot = excluded;
    co_await open->updateFilter(excluded);
}

void SessionRecorder::stopCountdowns()
{
    ++countdown;
    idleTask.cancel();
    closeTask.cancel();
    idleTask = {};
    closeTask = {};
}

void SessionRecorder::scheduleIdle()
{
    stopCountdowns();
    idleDue = services.clock.now() + RecordingPlan::idleTimeout;
    idleTask = spawn(
        strand,
        [weak = weak_from_this(), &clock = services.clock, due = idleDue, number = countdown]() -> Task<> {
            co_await clock.sleepUntil(due);
            auto const self = weak.lock();
            if (self && self->countdown == number)
                self->pauseForIdle();
        });
}

/// Pauses at the time when the pause was due, not now: a countdown that expires while the machine sleeps may
/// be hours late.
void SessionRecorder::pauseForIdle()
{
    if (!writer || !capturing)
        return;
    stopCountdowns();
    writer->pause(idleDue);
    setCapturing(false);
    closeTask =
        spawn(strand, [weak = weak_from_this(), &clock = services.clock, number = countdown]() -> Task<> {
            co_await clock.sleep(RecordingPlan::resumeWindow);
            auto const self = weak.lock();
            if (self && self->countdown == number)
                self->closeInBackground(self->takeWriter());
        });
}

void SessionRecorder::pauseIfOverdue()
{
    if (capturing && services.clock.now() >= idleDue)
        pauseForIdle();
}

/// From here on a new action starts another recording, while this one is being closed.
SessionRecorder::WriterPtr SessionRecorder::takeWriter()
{
    stopCountdowns();
    setCapturing(false);
    return std::exchange(writer, nullptr);
}

void SessionRecorder::closeInBackground(WriterPtr closing)
{
    if (closing)
        spawn(strand, [self = shared_from_this(), closing = std::move(closing)] {
            return self->close(closing, false);
        });
}

/// onFinished may take minutes: it asks the person or uploads the recording. So the file counts as closed
/// before onFinished, except at the end of the process, where onFinished is quick and is waited for.
Task<> SessionRecorder::close(WriterPtr closing, bool quitting)
{
    std::optional<FinishedRecording> finished;
    try {
        finished = co_await closing->finish();
    } catch (...) { // There is no recording then.
    }
    bool const isLast = quitting || isQuitting;
    if (!isLast)
        closedFile();
    try {
        if (finished && services.onFinished)
            co_await services.onFinished(*std::move(finished), isLast);
    } catch (...) { // The recording stays in its folder.
    }
    if (isLast)
        closedFile();
}

Task<> SessionRecorder::finishNow(bool quitting)
{
    auto const self = shared_from_this();
    co_await runOn(strand, [this, quitting] { return finish(quitting); });
}

Task<> SessionRecorder::finish(bool quitting)
{
    ++finishes;
    isQuitting = isQuitting || quitting;
    pauseIfOverdue();
    if (WriterPtr closing = takeWriter())
        co_await close(std::move(closing), quitting);
    if (quitting)
        co_await untilClosedOnStrand();
}

Task<> SessionRecorder::untilClosed()
{
    auto const self = shared_from_this();
    co_await runOn(strand, [this] { return untilClosedOnStrand(); });
}

Task<> SessionRecorder::untilClosedOnStrand()
{
    while (openFiles > 0)
        co_await filesClosed.wait([this] { return openFiles == 0; });
}

void SessionRecorder::setCapturing(bool value)
{
    if (capturing == value)
        return;
    capturing = value;
    recording.set(value);
    if (services.onCapturingChanged)
        asio::post(services.contexts.main, [report = services.onCapturingChanged, value] { report(value); });
}

void SessionRecorder::openedFile()
{
    filesClosed.notifyAll([this] { ++openFiles; });
    openFile.set(true);
}

void SessionRecorder::closedFile()
{
    filesClosed.notifyAll([this] { --openFiles; });
    openFile.set(openFiles > 0);
}

} // namespace zelvo
