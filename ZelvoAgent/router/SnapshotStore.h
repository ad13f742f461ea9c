#pragma once

#include "drivers/TreeCapturing.h"

#include <cstddef>
#include <map>
#include <memory>
#include <string>

namespace zelvo {

/// The trees that agents have read: for 30 s they may name elements by a snapshot's id. Their short life
/// alone keeps the store small. Thread: one.
class SnapshotStore {
public:
    explicit SnapshotStore(Clock const& clock) : clock(clock) {}

    /// Keeps a snapshot and drops what is too old.
    void store(std::shared_ptr<UiTreeSnapshot const> snapshot);
    /// Null for one that is unknown or too old.
    std::shared_ptr<UiTreeSnapshot const> find(std::string const& snapshotId) const;
    std::size_t size() const { return snapshots.size(); }

private:
    bool isTooOld(UiTreeSnapshot const& snapshot) const;
    void pruneSnapshots();

    Clock const& clock;
    std::map<std::string, std::shared_ptr<UiTreeSnapshot const>> snapshots;
};

} // namespace zelvo
