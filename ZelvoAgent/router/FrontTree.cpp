#include "router/FrontTree.h"

namespace zelvo {

/// Looks for this program's own windows twice: another application may come to the front meanwhile.
Task<UiTreeSnapshot> FrontTree::read(TreeScope scope, bool interactiveOnly)
{
    auto const front = co_await probe.frontmostApp();
    ownUi.assertAppReadable(front ? std::optional(front->bundleId) : std::nullopt);
    UiTreeSnapshot snapshot = co_await tree.snapshot(scope, interactiveOnly, std::nullopt);
    ownUi.assertAppReadable(snapshot.app ? std::optional(snapshot.app->bundleId) : std::nullopt);
    co_return snapshot;
}

} // namespace zelvo
