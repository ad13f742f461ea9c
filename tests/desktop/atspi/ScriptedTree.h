#pragma once

#include <boost/json/value.hpp>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zelvo::test {

/// An element that a scripted application serves.
struct ScriptedNode {
    std::uint32_t role = 0;
    std::uint64_t states = 0;
    std::string name;
    std::string description;
    std::string help;
    std::string identifier;
    std::array<std::int32_t, 4> extents{};
    std::vector<std::string> actions;
    std::optional<std::vector<std::string>> translatedActions;
    std::optional<std::size_t> labelledBy;
    std::string text;
    bool editable = false; ///< has the interfaces Text and EditableText
    std::vector<std::size_t> children;
    std::string foreignName; ///< the bus name that it is listed under; empty: the application's own
    std::string path;        ///< that it is listed under; empty: the one that goes with its place
    std::optional<std::int32_t> claimedChildren; ///< what it says of their number
};

/// How it answers callers.
struct ScriptedManners {
    std::string toolkit = "scripted";
    int delay = 0;        ///< milliseconds before each answer
    int stopsAfter = -1;  ///< calls, after which it stops itself (SIGSTOP)
    int leavesAfter = -1; ///< calls, after which it ends
    bool direct = false;  ///< offers a socket of its own
};

/// Reads a tree: {"role": 43, "states": [25], "name": "..", "description", "help", "id", "extents": [x, y, w,
/// h], "actions": ["click"], "translated": ["Klicken"], "labelledBy": "a" (the element of that label),
/// "text":
/// "..", "editable": true, "children": [..], "claims": n, "label": "a", "same": "a" (the element of that
/// label once more), "repeat": n (that often, its name numbered), "deep": n (that often, each in the one
/// before), "foreign": ":1.7", "path": "/.."}. The first is the application.
std::vector<ScriptedNode> scriptedTree(boost::json::value const& root);

ScriptedManners scriptedManners(boost::json::value const& script);

} // namespace zelvo::test
