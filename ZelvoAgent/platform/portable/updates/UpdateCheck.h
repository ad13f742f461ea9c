#pragma once

#include "platform/portable/updates/ArchiveUpdates.h"

#include <functional>
#include <memory>
#include <string>

namespace zelvo {

/// One check: feed, download, signature, standby folder, a first start of the new version.
/// Thread: agent.
class UpdateCheck {
public:
    using Report = std::function<void(UpdateProgress)>; ///< thread: any

    /// Throws UpdateAbort if the information dictionary lacks what a check needs.
    UpdateCheck(std::shared_ptr<ArchiveUpdates::Parts> parts, Report report);

    /// Returns the version that is in the standby folder now, ready for the exchange. Throws UpdateAbort.
    Task<UpdateItem> run();

private:
    Task<UpdateFeed> loadFeed();
    void assertNewer(UpdateFeed const& feed);
    Task<> fetch(UpdateArchive archive, UpdateItem item);
    Task<> assertStarts(std::string version);

    std::shared_ptr<ArchiveUpdates::Parts> parts;
    ArchiveUpdates::Services const& services;
    ProgramFolder const& folder;
    Report report;
    std::string address;
    std::string ownVersion;
    UpdateKey key;
};

} // namespace zelvo
