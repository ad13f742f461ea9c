#pragma once

#include "ZelvoGateway/mcp/ElementReferences.h"

#include <cstddef>
#include <string>
#include <vector>

namespace zelvo::service {

/// An element as one line: [b9] button "Save" (400,300 64x32) disabled
/// Without a reference it begins with the role.
std::string elementLine(ReferencedElement const& referenced);

/// A tree as lines. If there are more than `maxLines`, the last line says how many are left out.
std::vector<std::string> treeLines(std::vector<ReferencedElement> const& tree, std::size_t maxLines);

/// What is different between two trees of one application, by the references of their elements:
///
///     + [b9] button "Save" (400,300 64x32)
///     ~ [t2] value="Bread" focused
///     - [b3] [b4]
///     = 41 unchanged
///
/// `maxLines` bounds the lines that begin with + and ~ together, and the references in the line of removed
/// ones.
std::vector<std::string> changeLines(std::vector<ReferencedElement> const& before,
                                     std::vector<ReferencedElement> const& after,
                                     std::size_t maxLines);

} // namespace zelvo::service
