#include "ZelvoGateway/mcp/ArgumentCheck.h"

#include "base/Text.h"

#include <algorithm>
#include <string_view>

namespace zelvo::service {

namespace {

using Problem = std::optional<std::string>;

constexpr std::size_t maxShownName = 60; // characters

Problem problemOf(json::object const& schema, json::value const& value, std::string const& name);

std::string quoted(std::string const& name)
{
    return "\"" + name + "\"";
}

bool isOfType(json::value const& value, std::string_view type)
{
    if (type == "object")
        return value.is_object();
    if (type == "array")
        return value.is_array();
    if (type == "string")
        return value.is_string();
    if (type == "boolean")
        return value.is_bool();
    if (type == "integer")
        return value.is_int64();
    return type != "number" || value.is_number();
}

std::string withArticle(std::string_view type)
{
    bool const hasVowel = type.find_first_of("aeio") == 0;
    return (hasVowel ? "an " : "a ") + std::string(type);
}

/// "a", "b" or "c".
std::string choices(json::array const& allowed)
{
    std::string list;
    for (std::size_t i = 0; i < allowed.size(); ++i) {
        if (i > 0)
            list += i + 1 == allowed.size() ? " or " : ", ";
        list += writeJson(allowed[i]);
    }
    return list;
}

/// Compares a size with a schema's bounds, such as "minItems" and "maxItems".
Problem boundsProblem(json::object const& schema,
                      double size,
                      std::string_view least,
                      std::string_view most,
                      std::string const& subject,
                      std::string const& unit)
{
    auto const min = read::number(schema, least);
    if (min && size < *min)
        return subject + " at least " + writeJson(plainNumber(*min)) + unit;
    auto const max = read::number(schema, most);
    if (max && size > *max)
        return subject + " at most " + writeJson(plainNumber(*max)) + unit;
    return std::nullopt;
}

/// Checks the members that the schema does not list.
Problem otherMembersProblem(json::object const& schema, json::object const& object, std::string const& prefix)
{
    json::value const* const rule = schema.if_contains("additionalProperties");
    bool const areRefused = rule && rule->is_bool() && !rule->get_bool();
    if (!areRefused && !(rule && rule->is_object()))
        return std::nullopt;
    json::object const* const known = read::object(schema, "properties");
    for (auto const& member : object) {
        if (known && known->contains(member.key()))
            continue;
        std::string const name = prefix + text::shownInLine(member.key(), maxShownName);
        if (areRefused)
            return quoted(name) + " is unknown";
        if (Problem problem = problemOf(rule->get_object(), member.value(), name))
            return problem;
    }
    return std::nullopt;
}

Problem objectProblem(json::object const& schema, json::object const& object, std::string const& name)
{
    std::string const prefix = name.empty() ? "" : name + ".";
    if (json::array const* const required = read::array(schema, "required"))
        for (json::value const& key : *required)
            if (key.is_string() && !object.contains(key.get_string()))
                return quoted(prefix + std::string(key.get_string())) + " is missing";
    if (json::object const* const properties = read::object(schema, "properties"))
        for (auto const& property : *properties) {
            json::value const* const member = object.if_contains(property.key());
            if (!member || !property.value().is_object())
                continue;
            if (Problem problem =
                    problemOf(property.value().get_object(), *member, prefix + std::string(property.key())))
                return problem;
        }
    return otherMembersProblem(schema, object, prefix);
}

Problem listProblem(json::object const& schema, json::array const& list, std::string const& name)
{
    if (Problem problem = boundsProblem(schema, static_cast<double>(list.size()), "minItems", "maxItems",
                                        quoted(name) + " must have", " items"))
        return problem;
    json::object const* const items = read::object(schema, "items");
    for (std::size_t i = 0; items && i < list.size(); ++i)
        if (Problem problem = problemOf(*items, list[i], name + "[" + std::to_string(i) + "]"))
            return problem;
    return std::nullopt;
}

Problem textProblem(json::object const& schema, std::string_view text, std::string const& name)
{
    if (!schema.contains("minLength") && !schema.contains("maxLength"))
        return std::nullopt;
    return boundsProblem(schema, static_cast<double>(text::characterCount(text)), "minLength", "maxLength",
                         quoted(name) + " must have", " characters");
}

Problem problemOf(json::object const& schema, json::value const& value, std::string const& name)
{
    auto const type = read::text(schema, "type");
    if (type && !isOfType(value, *type))
        return quoted(name) + " must be " + withArticle(*type);
    json::array const* const allowed = read::array(schema, "enum");
    if (allowed && std::ranges::find(*allowed, value) == allowed->end())
        return quoted(name) + " must be " + choices(*allowed);
    if (value.is_object())
        return objectProblem(schema, value.get_object(), name);
    if (value.is_array())
        return listProblem(schema, value.get_array(), name);
    if (value.is_string())
        return textProblem(schema, value.get_string(), name);
    if (value.is_number())
        return boundsProblem(schema, value.to_number<double>(), "minimum", "maximum",
                             quoted(name) + " must be", "");
    return std::nullopt;
}

} // namespace

std::optional<std::string> argumentProblem(json::object const& schema, json::object const& arguments)
{
    return objectProblem(schema, arguments, "");
}

} // namespace zelvo::service
