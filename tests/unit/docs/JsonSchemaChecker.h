#pragma once

#include "unit/docs/JsonKinds.h"
#include "unit/docs/JsonSchemas.h"

namespace zelvo {

/// Collects what is wrong with a value.
class JsonSchemaChecker {
public:
    explicit JsonSchemaChecker(JsonSchemas const& schemas) : schemas(schemas) {}

    std::vector<std::string> faults;

    void check(JsonSchemas::Place const& place, json::value const& value, std::string const& where)
    {
        for (auto const& [key, rule] : *place.schema)
            apply(key, rule, place, value, where);
    }

private:
    JsonSchemas const& schemas;

    void fault(std::string const& where, std::string const& what)
    {
        faults.push_back((where.empty() ? "/" : where) + ": " + what);
    }

    void apply(std::string_view key,
               json::value const& rule,
               JsonSchemas::Place const& place,
               json::value const& value,
               std::string const& where)
    {
        if (key == "$ref")
            check(schemas.at(std::string(rule.as_string()), place.file), value, where);
        else if (key == "type" && !isOfTypes(value, rule))
            fault(where, "is " + std::string(kindOf(value)) + " and not " + writeJson(rule));
        else if (key == "const" && value != rule)
            fault(where, "is not " + writeJson(rule));
        else if (key == "enum" && std::ranges::find(rule.as_array(), value) == rule.as_array().end())
            fault(where, "is none of " + writeJson(rule));
        else if (key == "oneOf" || key == "anyOf")
            applyChoice(key, rule.as_array(), place, value, where);
        else if (value.is_object())
            applyToObject(key, rule, place, value.get_object(), where);
        else if (value.is_array())
            applyToArray(key, rule, place, value.get_array(), where);
        else if (value.is_number())
            applyToNumber(key, rule, value, where);
        else if (key == "minLength" && value.is_string() &&
                 std::int64_t(value.get_string().size()) < rule.as_int64())
            fault(where, "is too short");
    }

    void applyChoice(std::string_view key,
                     json::array const& rules,
                     JsonSchemas::Place const& place,
                     json::value const& value,
                     std::string const& where)
    {
        auto const fits = [&](json::value const& rule) {
            JsonSchemaChecker branch(schemas);
            branch.check({place.file, &rule.as_object()}, value, where);
            return branch.faults.empty();
        };
        auto const count = std::ranges::count_if(rules, fits);
        if (count == 0 || (key == "oneOf" && count != 1))
            fault(where, "fits " + std::to_string(count) + " of " + std::to_string(rules.size()));
    }

    void applyToObject(std::string_view key,
                       json::value const& rule,
                       JsonSchemas::Place const& place,
                       json::object const& object,
                       std::string const& where)
    {
        if (key == "required") {
            for (json::value const& name : rule.as_array())
                if (!object.contains(name.as_string()))
                    fault(where, "lacks \"" + std::string(name.as_string()) + "\"");
        } else if (key == "properties") {
            for (auto const& [name, inner] : rule.as_object())
                if (json::value const* const member = object.if_contains(name))
                    check({place.file, &inner.as_object()}, *member, where + "/" + std::string(name));
        } else if (key == "additionalProperties") {
            checkOthers(rule, place, object, where);
        }
    }

    void checkOthers(json::value const& rule,
                     JsonSchemas::Place const& place,
                     json::object const& object,
                     std::string const& where)
    {
        json::object const* const known = read::object(*place.schema, "properties");
        for (auto const& [name, member] : object) {
            if (known && known->contains(name))
                continue;
            if (rule.is_object())
                check({place.file, &rule.get_object()}, member, where + "/" + std::string(name));
            else if (!rule.as_bool())
                fault(where, "has the unknown key \"" + std::string(name) + "\"");
        }
    }

    void applyToArray(std::string_view key,
                      json::value const& rule,
                      JsonSchemas::Place const& place,
                      json::array const& array,
                      std::string const& where)
    {
        if (key == "minItems" && std::int64_t(array.size()) < rule.as_int64())
            fault(where, "has too few items");
        if (key != "items")
            return;
        for (std::size_t i = 0; i < array.size(); ++i)
            check({place.file, &rule.as_object()}, array[i], where + "/" + std::to_string(i));
    }

    void applyToNumber(std::string_view key,
                       json::value const& rule,
                       json::value const& value,
                       std::string const& where)
    {
        auto const number = value.to_number<double>();
        if (key == "minimum" && number < rule.to_number<double>())
            fault(where, "is less than " + writeJson(rule));
        if (key == "maximum" && number > rule.to_number<double>())
            fault(where, "is more than " + writeJson(rule));
    }
};

} // namespace zelvo
