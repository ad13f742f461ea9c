#pragma once

#include "platform/portable/files/UniqueFd.h"
#include "platform/portable/updates/ProgramFolder.h"
#include "platform/portable/updates/UpdateRecord.h"

#include <optional>
#include <string>

namespace zelvo {

/// Whether a new version works. It is on trial from the exchange until its first heartbeat. After two starts
/// that neither lasted nor ended in the normal way, the next start puts the version before it back.
/// Thread: any, but begin() comes first; blocks for the disk.
class VersionTrial {
public:
    /// version  of the running program
    /// records  must outlive this
    VersionTrial(ProgramFolder folder, std::string version, UpdateRecords& records);

    /// Whether a new version of this program has not sent a heartbeat yet.
    bool isRunning() const { return isOwn(records.read()); }
    /// At the start of the running program. Returns the program to run instead of this one, if the version
    /// before this was put back.
    std::optional<std::string> begin();
    /// The new version runs well, or ends in the normal way: earlier starts do not count any more.
    void noteGoodRun();
    /// The new version has sent a heartbeat: the trial is over, and the version before it is removed.
    void confirm();
    /// Just before an exchange. False, with errno set, if it can't be recorded.
    bool announce(std::string const& from, std::string const& to);

private:
    bool isOwn(UpdateRecord const& record) const;
    bool takeTurn();
    std::optional<std::string> putBack(UpdateTrial const& trial);

    ProgramFolder folder;
    std::string version;
    UpdateRecords& records;
    UniqueFd running; ///< locked while this process, the one whose start counts, lives
};

} // namespace zelvo
