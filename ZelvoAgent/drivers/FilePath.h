#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Paths as text, without file system access. Comparison is byte by byte and case-sensitive.
namespace zelvo::paths {

/// An absolute path without ".", "..", doubled slashes and a trailing slash. ".." removes the part before it,
/// without looking whether that is a link, and stops at "/".
/// base  the folder of a relative path; a relative base is relative to "/"
std::string standardized(std::string_view path, std::string_view base);

/// A path that begins with a tilde, split in two.
struct TildePath {
    std::string user; ///< "alice" in "~alice/notes", empty in "~" and "~/notes"
    std::string rest; ///< "/notes"
    bool operator==(TildePath const&) const = default;
};
std::optional<TildePath> tildePath(std::string_view path);

/// True if `place` is the folder or below it. Both must be standardized. Only "/" itself is inside "/".
bool isInside(std::string_view place, std::string_view folder);

/// The path of `place` relative to a folder that contains it; empty for the folder itself.
std::string below(std::string_view place, std::string_view folder);

/// path  standardized; "/" is its own parent
std::string parentOf(std::string_view path);
std::string nameOf(std::string_view path);
std::string joined(std::string_view folder, std::string_view name);

/// The components of a path, without empty ones and ".".
std::vector<std::string> parts(std::string_view path);

} // namespace zelvo::paths
