#include "platform/portable/updates/ArchiveUpdateController.h"

#include "base/Hop.h"
#include "base/LocalizedTexts.h"
#include "base/Versions.h"
#include "platform/portable/updates/UpdateCheck.h"
#include "platform/portable/updates/UpdateDownload.h"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <chrono>
#include <utility>

namespace zelvo {

namespace {

using Phase = UpdateProgress::Phase;
using Seconds = std::chrono::seconds;

UpdateAbort abortOf(NetworkFailure const& failure)
{
    bool const isTls = failure.kind == NetworkFailure::Kind::tls;
    return {.description =
                localized(isTls ? "update.error.tls" : "update.error.network", {failure.description})};
}

std::int64_t secondsOf(Date date)
{
    return std::chrono::floor<Seconds>(date.time_since_epoch()).count();
}

} // namespace

/// The checks, on the agent's thread. Tasks share it, so it may outlive the controller.
class ArchiveUpdateController::Run : public std::enable_shared_from_this<Run> {
public:
    Run(std::shared_ptr<ArchiveUpdates::Parts> given, UpdateDelegate& delegate)
        : parts(std::move(given)), delegate(&delegate), timer(agent(), parts->services.clock),
          wellTimer(agent(), parts->services.clock)
    {
    }

    // Thread: main.

    void end() { delegate = nullptr; }
    UpdateDelegate* listener() const { return delegate; }
    std::optional<UpdateItem> readyItem() const { return ready.get(); }
    bool install();

    // Thread: any.

    Executor const& agent() const { return parts->services.contexts.agent; }
    std::shared_ptr<ArchiveUpdates::Parts> const parts;

    // Thread: agent.

    Task<> begin();
    void check();
    void stop();

private:
    Task<> checkOnce();
    Task<Duration> outcome();
    Duration timeToFirstCheck() const;
    void report(UpdateProgress progress);
    void report(UpdateAbort abort);
    template <class Call>
    void onMain(Call call);

    UpdateDelegate* delegate; // main; null when the controller is gone
    DelayedCall timer;
    DelayedCall wellTimer;
    TaskHandle task;
    bool isChecking = false;
    bool isStopped = false;
    LockedBox<std::optional<UpdateItem>> ready;
};

template <class Call>
void ArchiveUpdateController::Run::onMain(Call call)
{
    asio::post(parts->services.contexts.main, [self = shared_from_this(), call = std::move(call)] {
        if (self->delegate)
            call(*self->delegate);
    });
}

void ArchiveUpdateController::Run::report(UpdateProgress progress)
{
    onMain([progress = std::move(progress)](UpdateDelegate& to) { to.progressed(progress); });
}

void ArchiveUpdateController::Run::report(UpdateAbort abort)
{
    onMain([abort = std::move(abort)](UpdateDelegate& to) { to.didAbort(abort); });
}

/// Removes what killed processes left, and says if a version was put back.
Task<> ArchiveUpdateController::Run::begin()
{
    auto const tidy = [this] {
        UpdateRecord const record = parts->records.read();
        if (!record.trial && parts->folder.lock())
            parts->folder.removeStandby();
        return record;
    };
    UpdateRecord const record = co_await on(parts->services.contexts.workers, tidy);
    std::string const own = parts->services.information.text("CFBundleShortVersionString").value_or("0");
    if (isVersionBelow(own, record.rejected))
        report(UpdateAbort{.description = localized("update.error.putBack", {record.rejected, own})});
    if (isStopped)
        co_return;
    wellTimer.in(ArchiveUpdates::goodRun, [weak = weak_from_this()] {
        if (auto const self = weak.lock())
            asio::post(self->parts->services.contexts.workers,
                       [parts = self->parts] { parts->trial.noteGoodRun(); });
    });
    timer.in(timeToFirstCheck(), [weak = weak_from_this()] {
        if (auto const self = weak.lock())
            self->check();
    });
}

/// A date in the future is that of a clock that was wrong.
Duration ArchiveUpdateController::Run::timeToFirstCheck() const
{
    UpdateRecord const record = parts->records.read();
    std::int64_t const age = secondsOf(parts->services.clock.date()) - record.lastCheck;
    auto const period = std::chrono::duration_cast<Seconds>(ArchiveUpdates::checkPeriod).count();
    if (age < 0 || age >= period || UpdateDownload::isIn(parts->services.records))
        return ArchiveUpdates::firstCheckDelay;
    return std::max<Duration>(ArchiveUpdates::firstCheckDelay, Seconds(period - age));
}

void ArchiveUpdateController::Run::check()
{
    if (isChecking || isStopped)
        return;
    if (auto const item = ready.get()) {
        report(UpdateProgress{.phase = Phase::ready, .item = *item});
        return;
    }
    isChecking = true;
    timer.cancel();
    task = spawn(agent(), [self = shared_from_this()] { return self->checkOnce(); });
}

Task<> ArchiveUpdateController::Run::checkOnce()
{
    Duration const next = co_await outcome();
    isChecking = false;
    if (isStopped || ready.get())
        co_return;
    report(UpdateProgress{});
    timer.in(next, [weak = weak_from_this()] {
        if (auto const self = weak.lock())
            self->check();
    });
}

/// Reports how a check ends, and returns the time until the next one.
Task<Duration> ArchiveUpdateController::Run::outcome()
{
    std::optional<UpdateAbort> abort;
    try {
        UpdateCheck check(parts, [self = shared_from_this()](UpdateProgress progress) {
            self->report(std::move(progress));
        });
        UpdateItem const item = co_await check.run();
        ready.set(item);
        report(UpdateProgress{.phase = Phase::ready, .item = item});
    } catch (UpdateAbort const& given) {
        abort = given;
    } catch (NetworkFailure const& failure) {
        abort = abortOf(failure);
    }
    if (abort && !isStopped)
        report(*abort);
    if (abort && abort->code != UpdateAbort::nothingFound)
        co_return ArchiveUpdates::retryPeriod;
    std::int64_t const now = secondsOf(parts->services.clock.date());
    co_await on(parts->services.contexts.workers, [this, now] {
        parts->records.change([now](UpdateRecord& record) { record.lastCheck = now; });
    });
    co_return ArchiveUpdates::checkPeriod;
}

void ArchiveUpdateController::Run::stop()
{
    isStopped = true;
    timer.cancel();
    wellTimer.cancel();
    task.cancel();
}

/// Another process may have exchanged the folder meanwhile; then it is not this version that would be kept.
bool ArchiveUpdateController::Run::install()
{
    std::optional<UpdateItem> const item = ready.get();
    std::string const own = parts->services.information.text("CFBundleShortVersionString").value_or("0");
    if (!item || !delegate)
        return false;
    ProgramFolder const& folder = parts->folder;
    UniqueFd const lock = folder.lock();
    if (!lock || folder.version() != own || folder.standbyVersion() != item->displayVersion)
        return false;
    delegate->willInstallUpdateOnQuit(*item);
    if (!parts->trial.announce(own, item->displayVersion) || !folder.exchange())
        return false;
    UpdateDownload::removeAll(parts->services.records);
    ready.set(std::nullopt);
    return true;
}

ArchiveUpdateController::ArchiveUpdateController(std::shared_ptr<ArchiveUpdates::Parts> parts,
                                                 UpdateDelegate& delegate)
    : run(std::make_shared<Run>(std::move(parts), delegate))
{
    spawn(run->agent(), [run = run] { return run->begin(); });
}

ArchiveUpdateController::~ArchiveUpdateController()
{
    run->end();
    asio::post(run->agent(), [run = run] { run->stop(); });
}

void ArchiveUpdateController::checkForUpdates()
{
    asio::post(run->agent(), [run = run] { run->check(); });
}

void ArchiveUpdateController::confirmVersion()
{
    asio::post(run->parts->services.contexts.workers, [parts = run->parts] { parts->trial.confirm(); });
}

bool ArchiveUpdateController::installOnQuit()
{
    run->parts->trial.noteGoodRun();
    return run->install();
}

} // namespace zelvo
