#pragma once

#include "ZelvoGateway/mcp/tools/MachineCall.h"

#include <string>

namespace zelvo::service {

/// An element that a reference means, as the machine knows it.
struct FoundElement {
    std::string snapshot;
    SeenElement element; ///< in points
};

/// How new the tree has to be in which an element is found.
enum class Freshness {
    usual, ///< the machine checks the element itself, while it knows the snapshot
    now,   ///< read a new one
};

/// Finds the element of a reference, in a new tree if the machine no longer knows the last one or if the
/// element is not there.
/// Throws ToolFailure if there is no such element or if several look like it, which are listed; Failure.
Task<FoundElement> findElement(MachineCallPtr call, std::string reference, Freshness freshness);

} // namespace zelvo::service
