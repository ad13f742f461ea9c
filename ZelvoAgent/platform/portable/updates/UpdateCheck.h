#pragma once

#include "platform/portable/files/UniqueFd.h"
#include "platform/portable/updates/ArchiveUpdates.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace zelvo {

/// A version in the standby folder, ready for the exchange. Nobody else updates the folder while it exists.
struct PreparedUpdate {
    UpdateItem item;
    UniqueFd lock;
};

/// One check: feed, download, signature, standby folder, a first start of the new version.
/// Thread: agent.
class UpdateCheck {
public:
    using Report = std::function<void(UpdateProgress)>; ///< thread: any

    /// Throws UpdateAbort if the information dictionary lacks what a check needs.
    UpdateCheck(std::shared_ptr<ArchiveUpdates::Parts> parts, Report report);

    /// The feed, if it offers more than a version. Throws UpdateAbort.
    Task<UpdateFeed> look(std::string newerThan);
    /// Puts what the feed offers into the standby folder, in place of an earlier preparation. Throws
    /// UpdateAbort and NetworkFailure.
    Task<PreparedUpdate> prepare(UpdateFeed feed, std::optional<PreparedUpdate> earlier);

private:
    Task<UpdateFeed> loadFeed();
    void assertOffered(UpdateFeed const& feed, std::string const& newerThan);
    Task<> fetch(UpdateArchive archive, UpdateItem item);
    void keepAddresses() const;
    Task<> assertStarts(std::string version);

    std::shared_ptr<ArchiveUpdates::Parts> parts;
    ArchiveUpdates::Services const& services;
    ProgramFolder const& folder;
    Report report;
    std::string address;
    UpdateKey key;
};

} // namespace zelvo
