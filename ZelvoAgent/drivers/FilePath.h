#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Paths as text: nothing here looks at a disk. Bytes are compared as they stand, so case counts.
namespace zelvo::paths {

/// An absolute path without ".", "..", doubled slashes and a slash at its end. ".." takes away the part
/// before it whatever that is, and stops at "/".
/// base  what a path without a slash in front counts from; it counts from "/" itself
std::string standardized(std::string_view path, std::string_view base);

/// A path that begins with a tilde, in its two parts.
struct TildePath {
    std::string user; ///< "alice" of "~alice/notes", empty of "~" and "~/notes"
    std::string rest; ///< "/notes"
    bool operator==(TildePath const&) const = default;
};
std::optional<TildePath> tildePath(std::string_view path);

/// Is a place the folder or below it? Both standardized. Nothing but "/" itself is in "/".
bool isInside(std::string_view place, std::string_view folder);

/// What stands behind the folder in the path of a place in it, without a slash in front; empty for the
/// folder itself.
std::string below(std::string_view place, std::string_view folder);

/// Of a standardized path; "/" is its own parent.
std::string parentOf(std::string_view path);
std::string nameOf(std::string_view path);
std::string joined(std::string_view folder, std::string_view name);

/// The parts between the slashes, without empty ones and ".".
std::vector<std::string> parts(std::string_view path);

} // namespace zelvo::paths
