#include "platform/portable/updates/ArchiveUpdateController.h"

#include "base/Hop.h"
#include "base/LocalizedTexts.h"
#include "base/Versions.h"
#include "platform/portable/updates/UpdateCheck.h"
#include "platform/portable/updates/UpdateDownload.h"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <chrono>
#include <exception>
#include <string>
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
    bool install();

    // Thread: any.

    Executor const& agent() const { return parts->services.contexts.agent; }
    std::shared_ptr<ArchiveUpdates::Parts> const parts;

    // Thread: agent.

    Task<> begin();
    /// The person hears of what keeps a check from beginning.
    void checkByPerson();
    void stop();

private:
    void check();
    void checkIn(Duration delay);
    Task<> checkOnce();
    Task<Duration> outcome();
    Task<> update();
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
    std::optional<PreparedUpdate> prepared;     // agent; while a check replaces it, there is none
    LockedBox<std::optional<UpdateItem>> ready; // what is prepared
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

/// Removes what killed processes left, and says what became of the last update.
Task<> ArchiveUpdateController::Run::begin()
{
    auto const tidy = [this] {
        UpdateRecord const record = parts->records.read();
        UniqueFd const lock = parts->folder.lock();
        if (!record.trial && lock)
            parts->folder.removeStandby();
        parts->records.change([](UpdateRecord& changed) { changed.notInstalled.clear(); });
        return record;
    };
    UpdateRecord const record = co_await on(parts->services.contexts.workers, tidy);
    if (isVersionBelow(parts->version, record.rejected))
        report(
            UpdateAbort{.description = localized("update.error.putBack", {record.rejected, parts->version})});
    if (isVersionBelow(parts->version, record.notInstalled))
        report(UpdateAbort{.description = localized("update.error.notInstalled", {record.notInstalled})});
    if (isStopped)
        co_return;
    wellTimer.in(ArchiveUpdates::goodRun, [weak = weak_from_this()] {
        if (auto const self = weak.lock())
            asio::post(self->parts->services.contexts.workers,
                       [parts = self->parts] { parts->trial.noteGoodRun(); });
    });
    checkIn(timeToFirstCheck());
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

void ArchiveUpdateController::Run::checkIn(Duration delay)
{
    timer.in(delay, [weak = weak_from_this()] {
        if (auto const self = weak.lock())
            self->check();
    });
}

void ArchiveUpdateController::Run::checkByPerson()
{
    if (isChecking || isStopped)
        return;
    if (prepared)
        report(UpdateProgress{.phase = Phase::ready, .item = prepared->item});
    else if (parts->trial.isRunning())
        report(UpdateAbort{.description = localized("update.error.trial", {parts->version})});
    else
        check();
}

/// The version before a new one is kept where the next one would be unpacked, so a trial comes first.
void ArchiveUpdateController::Run::check()
{
    if (isChecking || isStopped)
        return;
    if (parts->trial.isRunning())
        return checkIn(ArchiveUpdates::retryPeriod);
    isChecking = true;
    timer.cancel();
    task = spawn(agent(), [self = shared_from_this()] { return self->checkOnce(); });
}

Task<> ArchiveUpdateController::Run::checkOnce()
{
    Duration const next = co_await outcome();
    isChecking = false;
    if (isStopped)
        co_return;
    report(prepared ? UpdateProgress{.phase = Phase::ready, .item = prepared->item} : UpdateProgress());
    checkIn(next);
}

/// What is ready stays ready until something newer replaces it.
Task<> ArchiveUpdateController::Run::update()
{
    UpdateCheck check(parts, [self = shared_from_this()](UpdateProgress progress) {
        if (!self->ready.get()) // A look for something still newer is nobody's concern.
            self->report(std::move(progress));
    });
    UpdateFeed feed = co_await check.look(prepared ? prepared->item.displayVersion : parts->version);
    ready.set(std::nullopt);
    std::optional<PreparedUpdate> earlier = std::exchange(prepared, std::nullopt);
    prepared = co_await check.prepare(std::move(feed), std::move(earlier));
    ready.set(prepared->item);
}

/// Reports how a check ends, and returns the time until the next one.
Task<Duration> ArchiveUpdateController::Run::outcome()
{
    std::optional<UpdateAbort> abort;
    try {
        co_await update();
    } catch (UpdateAbort const& given) {
        abort = given;
    } catch (NetworkFailure const& failure) {
        abort = abortOf(failure);
    } catch (std::exception const& error) { // A lack of memory or descriptors, for instance.
        abort = UpdateAbort{.description = localized("update.error.disk", {std::string(error.what())})};
    }
    if (abort && !isStopped && !prepared)
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
    prepared.reset(); // Others may update the folder now.
    timer.cancel();
    wellTimer.cancel();
    task.cancel();
}

/// What another process has done to the folder meanwhile, and files that a person has put there, stay.
bool ArchiveUpdateController::Run::install()
{
    std::optional<UpdateItem> const item = ready.get();
    ProgramFolder const& folder = parts->folder;
    if (!item || !delegate)
        return false;
    bool const isPossible = folder.version() == parts->version &&
                            folder.standbyVersion() == item->displayVersion && folder.isExchangeable();
    if (isPossible)
        delegate->willInstallUpdateOnQuit(*item);
    if (!isPossible || !parts->trial.announce(parts->version, item->displayVersion) || !folder.exchange()) {
        parts->records.change([&](UpdateRecord& record) {
            record.trial.reset();
            record.notInstalled = item->displayVersion;
        });
        return false;
    }
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
    asio::post(run->agent(), [run = run] { run->checkByPerson(); });
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
