#pragma once

#include "drivers/TreeCapturing.h"

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace zelvo {

/// The trees that agents have read: for 30 s the connection that took one may name its elements by the
/// snapshot's id. Their short life alone keeps the store small. Thread: one.
class SnapshotStore {
public:
    using Connection = std::optional<std::string>; ///< by its id, as a frame names it

    explicit SnapshotStore(Clock const& clock) : clock(clock) {}

    /// Keeps a snapshot and drops what is too old.
    void store(Connection connection, std::shared_ptr<UiTreeSnapshot const> snapshot);
    /// Null for one that is unknown, too old or another connection's.
    std::shared_ptr<UiTreeSnapshot const> find(Connection const& connection,
                                               std::string const& snapshotId) const;
    std::size_t size() const { return snapshots.size(); }

private:
    bool isTooOld(UiTreeSnapshot const& snapshot) const;
    void pruneSnapshots();

    Clock const& clock;
    std::map<std::pair<Connection, std::string>, std::shared_ptr<UiTreeSnapshot const>> snapshots;
};

} // namespace zelvo
