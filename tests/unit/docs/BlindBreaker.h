#pragma once

#include "unit/docs/JsonSchemas.h"

namespace zelvo {

/// Breaks a value part by part, whatever its schema says. Below a key in `free` anything may stand.
class BlindBreaker {
public:
    BlindBreaker(json::value const& whole, std::set<std::string> free, bool isSaidByAgent)
        : whole(whole), free(std::move(free)), isSaidByAgent(isSaidByAgent)
    {
        breakAt(whole, "");
    }

    std::vector<JsonSchemas::Variant> variants;

private:
    json::value const& whole;
    std::set<std::string> const free;
    bool const isSaidByAgent;

    void breakAt(json::value const& part, std::string const& pointer)
    {
        json::value const other = part.is_structured() ? json::value(7) : json::value(json::object{{"?", 7}});
        add(pointer + " as " + writeJson(other), pointer, other);
        if (json::object const* const object = part.if_object())
            breakObject(*object, pointer);
        if (json::array const* const array = part.if_array(); array && !array->empty())
            breakAt(array->front(), pointer + "/0");
    }

    void breakObject(json::object const& object, std::string const& pointer)
    {
        if (isSaidByAgent) {
            json::object more = object;
            more["noSuchKey"] = 1;
            add(pointer + " with one more key", pointer, more);
        }
        for (auto const& [key, member] : object)
            breakMember(object, key, member, pointer);
    }

    void breakMember(json::object const& object,
                     std::string_view key,
                     json::value const& member,
                     std::string const& pointer)
    {
        static std::set<std::string, std::less<>> const optional = {
            "app",   "compact",    "title",   "subrole", "region",          "description",
            "value", "identifier", "details", "element", "framesRelativeTo"};
        // A tree always has a snapshot, a wait only with an element.
        bool const mayLack = optional.contains(key) || (key == "snapshotId" && object.contains("element"));
        if (isSaidByAgent && !mayLack) {
            json::object without = object;
            without.erase(key);
            add("without " + pointer + "/" + std::string(key), pointer, without);
        }
        if (!free.contains(std::string(key)))
            breakAt(member, pointer + "/" + std::string(key));
    }

    void add(std::string what, std::string const& pointer, json::value part)
    {
        json::value changed = whole;
        changed.at_pointer(pointer) = std::move(part);
        variants.push_back({std::move(what), std::move(changed)});
    }
};

} // namespace zelvo
