#include "platform/portable/updates/VersionTrial.h"

#include <fcntl.h>
#include <sys/file.h>

#include <utility>

namespace zelvo {

namespace {

constexpr int maxFailedStarts = 2;
constexpr char const* lockName = "running.lock";

/// Ends a trial whose new version is not the one that runs.
void endTrial(UpdateRecord& record)
{
    if (record.trial->starts >= maxFailedStarts)
        record.rejected = record.trial->to;
    record.trial.reset();
}

} // namespace

VersionTrial::VersionTrial(ProgramFolder folder, std::string version, UpdateRecords& records)
    : folder(std::move(folder)), version(std::move(version)), records(records)
{
}

bool VersionTrial::isOwn(UpdateRecord const& record) const
{
    return record.trial && record.trial->program == folder.program();
}

/// Whether this process is the first one. A second start only hands its link over, and must not count.
bool VersionTrial::takeTurn()
{
    UniqueFd lock(::open((records.folder() / lockName).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!lock || ::flock(lock.get(), LOCK_EX | LOCK_NB) != 0)
        return false;
    running = std::move(lock);
    return true;
}

std::optional<std::string> VersionTrial::begin()
{
    if (!isOwn(records.read()) || !takeTurn())
        return std::nullopt;
    UpdateRecord const found = records.read();
    if (!isOwn(found))
        return std::nullopt;
    bool const isNew = version == found.trial->to;
    if (isNew && found.trial->starts >= maxFailedStarts)
        return putBack(*found.trial);
    records.change([&](UpdateRecord& record) {
        if (isNew)
            ++record.trial->starts;
        else // The exchange did not happen, or it was undone just before the process was killed.
            endTrial(record);
    });
    return std::nullopt;
}

/// A new version that is not recorded as rejected is not put back: the version before it would not find its
/// settings. After a kill in between, whichever version starts next comes here or ends the trial.
std::optional<std::string> VersionTrial::putBack(UpdateTrial const& trial)
{
    bool const canBePutBack = folder.standbyVersion() == trial.from &&
                              records.change([&](UpdateRecord& record) { record.rejected = trial.to; });
    bool const isBack = canBePutBack && folder.exchange();
    records.change([&](UpdateRecord& record) {
        record.trial.reset();
        if (!isBack)
            record.rejected.clear(); // Without the version before it, this one has to do.
    });
    if (!isBack)
        return std::nullopt;
    return folder.program().string();
}

void VersionTrial::noteGoodRun()
{
    if (!running)
        return;
    records.change([this](UpdateRecord& record) {
        if (isOwn(record))
            record.trial->starts = 0;
    });
}

/// The record first: a standby folder without a trial is a leftover, but a trial needs its standby folder.
void VersionTrial::confirm()
{
    UpdateRecord const found = records.read();
    if (!isOwn(found) || found.trial->to != version)
        return;
    bool const isStored = records.change([&](UpdateRecord& record) {
        record.trial.reset();
        record.rejected.clear();
    });
    UniqueFd const held = folder.lock();
    if (isStored && held && folder.standbyVersion() == found.trial->from)
        folder.removeStandby();
}

bool VersionTrial::announce(std::string const& from, std::string const& to)
{
    return records.change([&](UpdateRecord& record) {
        record.trial = UpdateTrial{.program = folder.program().string(), .from = from, .to = to};
    });
}

} // namespace zelvo
