#pragma once

#include "unit/docs/JsonSchemaChecker.h"

#include <functional>

namespace zelvo {

/// Breaks a value that fits, one part at a time.
class JsonSchemaBreaker {
public:
    using Replace = std::function<json::value(json::value)>; ///< the whole with this part in its place

    JsonSchemaBreaker(JsonSchemas const& schemas, std::set<std::string>& seen) : schemas(schemas), seen(seen)
    {
    }

    std::vector<JsonSchemas::Variant> variants;

    void breakAt(std::string const& reference,
                 JsonSchemas::Place const& place,
                 json::value const& value,
                 Replace const& whole,
                 std::string const& where)
    {
        if (!reference.empty())
            seen.insert(reference);
        json::object const& schema = *place.schema;
        if (json::value const* const next = schema.if_contains("$ref")) {
            std::string const there = absolute(std::string(next->as_string()), place.file);
            return breakAt(there, schemas.at(there), value, whole, where);
        }
        if (json::array const* const branches = read::array(schema, "oneOf"))
            return breakFitting(*branches, place, value, whole, where);
        breakKind(schema, whole, where);
        breakBounds(schema, value, whole, where);
        if (value.is_object())
            breakObject(reference, place, value.get_object(), whole, where);
        else if (value.is_array())
            breakArray(reference, place, value.get_array(), whole, where);
    }

private:
    JsonSchemas const& schemas;
    std::set<std::string>& seen;

    static std::string absolute(std::string const& reference, std::string const& file)
    {
        return reference.starts_with('#') ? file + reference : reference;
    }

    static std::string named(std::string const& where) { return where.empty() ? "/" : where; }

    void add(std::string const& where, std::string const& what, json::value value)
    {
        variants.push_back({named(where) + " " + what, std::move(value)});
    }

    void breakFitting(json::array const& branches,
                      JsonSchemas::Place const& place,
                      json::value const& value,
                      Replace const& whole,
                      std::string const& where)
    {
        for (json::value const& branch : branches) {
            JsonSchemas::Place const inner{place.file, &branch.as_object()};
            JsonSchemaChecker checker(schemas);
            checker.check(inner, value, where);
            if (checker.faults.empty())
                breakAt("", inner, value, whole, where);
        }
        if (std::ranges::find(branches, json::value{{"type", "null"}}) != branches.end())
            std::erase_if(variants, [&](JsonSchemas::Variant const& each) {
                return each.what == named(where) + " as null";
            });
    }

    void breakKind(json::object const& schema, Replace const& whole, std::string const& where)
    {
        json::value const* const types = schema.if_contains("type");
        for (json::value const& other :
             {json::value(true), json::value(-7.5), json::value("?"), json::value(json::array{7}),
              json::value(json::object{{"?", 7}}), json::value(nullptr)})
            if (types ? !isOfTypes(other, *types) : schema.contains("const") && other != schema.at("const"))
                add(where, "as " + std::string(kindOf(other)), whole(other));
        if (schema.contains("enum"))
            add(where, "as no such text", whole("no such"));
    }

    void breakBounds(json::object const& schema,
                     json::value const& value,
                     Replace const& whole,
                     std::string const& where)
    {
        if (!value.is_number() && !value.is_string() && !value.is_array())
            return;
        if (auto const least = read::number(schema, "minimum"))
            add(where, "below its minimum", whole(plainNumber(*least - 1)));
        if (auto const most = read::number(schema, "maximum"))
            add(where, "above its maximum", whole(plainNumber(*most + 1)));
        if (schema.contains("minLength"))
            add(where, "empty", whole(""));
        if (schema.contains("minItems"))
            add(where, "empty", whole(json::array()));
    }

    void breakObject(std::string const& reference,
                     JsonSchemas::Place const& place,
                     json::object const& object,
                     Replace const& whole,
                     std::string const& where)
    {
        json::object const& schema = *place.schema;
        if (json::array const* const required = read::array(schema, "required"))
            for (json::value const& name : *required) {
                json::object without = object;
                without.erase(name.as_string());
                add(where, "without " + std::string(name.as_string()), whole(without));
            }
        if (isClosed(schema)) {
            json::object more = object;
            more["noSuchKey"] = 1;
            add(where, "with an unknown key", whole(more));
        }
        for (auto const& [name, member] : object)
            if (auto const* const rule = ruleFor(schema, name))
                breakMember(reference, {place.file, rule}, object, std::string(name), whole, where);
    }

    static bool isClosed(json::object const& schema)
    {
        json::value const* const more = schema.if_contains("additionalProperties");
        return more && more->is_bool() && !more->get_bool();
    }

    static json::object const* ruleFor(json::object const& schema, std::string_view name)
    {
        if (json::object const* const properties = read::object(schema, "properties"))
            if (json::object const* const rule = read::object(*properties, name))
                return rule;
        return read::object(schema, "additionalProperties");
    }

    void breakMember(std::string const& reference,
                     JsonSchemas::Place const& place,
                     json::object const& object,
                     std::string const& name,
                     Replace const& whole,
                     std::string const& where)
    {
        std::string const property = reference + "." + name;
        seen.insert(property);
        auto const replace = [&](json::value part) {
            json::object changed = object;
            changed[name] = std::move(part);
            return whole(std::move(changed));
        };
        breakAt(property, place, object.at(name), replace, where + "/" + name);
    }

    void breakArray(std::string const& reference,
                    JsonSchemas::Place const& place,
                    json::array const& array,
                    Replace const& whole,
                    std::string const& where)
    {
        json::object const* const rule = read::object(*place.schema, "items");
        if (!rule)
            return;
        for (std::size_t i = 0; i < array.size(); ++i) {
            auto const replace = [&](json::value part) {
                json::array changed = array;
                changed[i] = std::move(part);
                return whole(std::move(changed));
            };
            breakAt(reference + "[]", {place.file, rule}, array[i], replace, where + "/" + std::to_string(i));
        }
    }
};

} // namespace zelvo
