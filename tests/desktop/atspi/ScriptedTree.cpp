#include "desktop/atspi/ScriptedTree.h"

#include <boost/json/value_to.hpp>

#include <algorithm>
#include <map>

namespace zelvo::test {

namespace {

namespace json = boost::json;

template <class T>
T entry(json::object const& object, char const* name, T otherwise)
{
    auto const* const value = object.if_contains(name);
    return value ? json::value_to<T>(*value) : otherwise;
}

class Builder {
public:
    std::vector<ScriptedNode> nodes;

    void add(json::object const& described, std::size_t parent)
    {
        if (auto const same = entry<std::string>(described, "same", ""); !same.empty())
            return nodes[parent].children.push_back(labels.at(same));
        auto const deep = entry<int>(described, "deep", 0);
        if (deep > 0) {
            for (int at = 0; at < deep; ++at)
                parent = addOne(described, parent, std::to_string(at));
            return;
        }
        auto const repeat = entry<int>(described, "repeat", 0);
        if (repeat == 0)
            addOne(described, parent, "");
        for (int at = 0; at < repeat; ++at)
            addOne(described, parent, std::to_string(at));
    }

    std::size_t addOne(json::object const& described, std::size_t parent, std::string const& number)
    {
        std::size_t const index = nodes.size();
        nodes.push_back(nodeFrom(described, number));
        if (auto const by = entry<std::string>(described, "labelledBy", ""); !by.empty())
            nodes.back().labelledBy = labels.at(by);
        if (index != 0)
            nodes[parent].children.push_back(index);
        if (auto const label = entry<std::string>(described, "label", ""); !label.empty())
            labels[label] = index;
        if (auto const* const children = described.if_contains("children"))
            for (auto const& child : children->as_array())
                add(child.as_object(), index);
        return index;
    }

private:
    static ScriptedNode nodeFrom(json::object const& described, std::string const& number)
    {
        ScriptedNode node;
        node.role = entry<std::uint32_t>(described, "role", 39);
        for (auto const state : entry<std::vector<int>>(described, "states", {8, 24, 25, 30}))
            node.states |= std::uint64_t{1} << state;
        node.name = entry<std::string>(described, "name", "") + number;
        node.description = entry<std::string>(described, "description", "");
        node.help = entry<std::string>(described, "help", "");
        node.identifier = entry<std::string>(described, "id", "");
        auto const extents = entry<std::vector<std::int32_t>>(described, "extents", {10, 10, 20, 20});
        std::copy_n(extents.begin(), 4, node.extents.begin());
        node.actions = entry<std::vector<std::string>>(described, "actions", {});
        if (described.contains("translated"))
            node.translatedActions = entry<std::vector<std::string>>(described, "translated", {});
        node.text = entry<std::string>(described, "text", "");
        node.editable = entry<bool>(described, "editable", false);
        node.foreignName = entry<std::string>(described, "foreign", "");
        node.path = entry<std::string>(described, "path", "");
        if (described.contains("claims"))
            node.claimedChildren = entry<std::int32_t>(described, "claims", 0);
        return node;
    }

    std::map<std::string, std::size_t> labels;
};

} // namespace

std::vector<ScriptedNode> scriptedTree(json::value const& root)
{
    Builder builder;
    builder.addOne(root.as_object(), 0, "");
    return std::move(builder.nodes);
}

ScriptedManners scriptedManners(json::value const& script)
{
    json::object const& object = script.as_object();
    return {.toolkit = entry<std::string>(object, "toolkit", "scripted"),
            .delay = entry<int>(object, "delay", 0),
            .stopsAfter = entry<int>(object, "stopsAfter", -1),
            .leavesAfter = entry<int>(object, "leavesAfter", -1),
            .direct = entry<bool>(object, "direct", false)};
}

} // namespace zelvo::test
