#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo::service {

/// An element that holds text only: "Error/Code" with "NoSuchKey". An element with an empty text marks the
/// end of its parent, which separates repeated parents.
struct XmlElement {
    std::string path; ///< the names from the root on, with "/" between them, without namespaces
    std::string text;

    bool operator==(XmlElement const&) const = default;
};

struct XmlLimits {
    std::size_t maxBytes = std::size_t{4} << 20;
    std::size_t maxDepth = 16;
    std::size_t maxElements = 20'000;
    std::size_t maxText = 4096; ///< of one element
};

/// Reads a whole document, in the order in which its elements end. Nullopt if it is not well-formed, declares
/// a document type (and so entities), or is larger than the limits allow.
std::optional<std::vector<XmlElement>> xmlElements(std::string_view document, XmlLimits const& limits = {});

} // namespace zelvo::service
