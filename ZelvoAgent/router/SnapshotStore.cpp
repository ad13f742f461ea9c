#include "router/SnapshotStore.h"

namespace zelvo {

namespace {

constexpr Duration lifetime = 30s;

} // namespace

void SnapshotStore::store(std::shared_ptr<UiTreeSnapshot const> snapshot)
{
    std::string const id = snapshot->snapshotId;
    snapshots[id] = std::move(snapshot);
    pruneSnapshots();
}

std::shared_ptr<UiTreeSnapshot const> SnapshotStore::find(std::string const& snapshotId) const
{
    auto const found = snapshots.find(snapshotId);
    if (found == snapshots.end() || isTooOld(*found->second))
        return nullptr;
    return found->second;
}

bool SnapshotStore::isTooOld(UiTreeSnapshot const& snapshot) const
{
    return clock.date() - snapshot.createdAt > lifetime;
}

void SnapshotStore::pruneSnapshots()
{
    std::erase_if(snapshots, [this](auto const& each) { return isTooOld(*each.second); });
}

} // namespace zelvo
