#pragma once

#include "confirm/ElementProbing.h"
#include "drivers/OwnUiGuard.h"
#include "drivers/TreeCapturing.h"

namespace zelvo {

/// The elements of the application in front, as agents may read them. Thread: any; keeps no state.
class FrontTree {
public:
    FrontTree(TreeCapturing& tree, ElementProbing& probe, OwnUiGuard& ownUi)
        : tree(tree), probe(probe), ownUi(ownUi)
    {
    }

    /// Throws AgentError: zelvoUiProtected if this program itself is in front, and what
    /// TreeCapturing::snapshot throws.
    Task<UiTreeSnapshot> read(TreeScope scope, bool interactiveOnly);

private:
    TreeCapturing& tree;
    ElementProbing& probe;
    OwnUiGuard& ownUi;
};

} // namespace zelvo
