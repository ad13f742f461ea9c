#pragma once

#include "wire/Json.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo::service {

/// Where an element is, in points of the main display. If it is relative, in those of its window: nobody
/// knows where that is.
struct SeenFrame {
    std::int64_t x = 0;
    std::int64_t y = 0;
    std::int64_t w = 0;
    std::int64_t h = 0;
    bool isRelative = false;
    bool operator==(SeenFrame const&) const = default;
};

/// An element of a tree that a machine sent. Its texts are fit for one line: they are short, and have no
/// control or direction characters.
struct SeenElement {
    std::string id;         ///< in the machine's own snapshot
    std::string role;       ///< as models read it, such as "button"
    std::string name;       ///< its title, or else its description; may be empty
    std::string identifier; ///< as the application gives it; may be empty
    std::string value;      ///< may be empty
    SeenFrame frame;
    bool isEnabled = true;
    bool isFocused = false;
    bool operator==(SeenElement const&) const = default;
};

/// The elements of a result of "ui.tree", in its order: at most 1,500. Leaves out what is no element.
std::vector<SeenElement> seenElements(json::object const& tree);

/// A value that somebody looks for, as `SeenElement::value` has it: agents send the first 200 characters.
std::string seenValue(std::string_view value);

} // namespace zelvo::service
