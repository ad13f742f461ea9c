#include "router/SnapshotStore.h"

namespace zelvo {

namespace {

constexpr Duration lifetime = 30s;

} // namespace

void SnapshotStore::store(Connection connection, std::shared_ptr<UiTreeSnapshot const> snapshot)
{
    std::string const id = snapshot->snapshotId;
    snapshots[{std::move(connection), id}] = std::move(snapshot);
    pruneSnapshots();
}

std::shared_ptr<UiTreeSnapshot const> SnapshotStore::find(Connection const& connection,
                                                          std::string const& snapshotId) const
{
    auto const found = snapshots.find({connection, snapshotId});
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
