#include "ZelvoGateway/mcp/ToolSchemas.h"

#include <utility>

namespace zelvo::service::schema {

namespace {

json::object ofType(std::string_view type, std::string_view description)
{
    json::object schema{{"type", type}};
    if (!description.empty())
        schema["description"] = description;
    return schema;
}

} // namespace

json::object text(std::string_view description)
{
    return ofType("string", description);
}

json::object choice(std::initializer_list<std::string_view> values, std::string_view description)
{
    json::object schema = ofType("string", description);
    json::array allowed;
    for (std::string_view const value : values)
        allowed.emplace_back(value);
    schema.emplace("enum", std::move(allowed));
    return schema;
}

json::object flag(std::string_view description)
{
    return ofType("boolean", description);
}

json::object number(std::string_view description)
{
    return ofType("number", description);
}

json::object integer(std::int64_t min, std::int64_t max, std::string_view description)
{
    json::object schema = ofType("integer", description);
    schema["minimum"] = min;
    schema["maximum"] = max;
    return schema;
}

json::object
list(json::object items, std::size_t minItems, std::size_t maxItems, std::string_view description)
{
    json::object schema = ofType("array", description);
    schema.emplace("items", std::move(items));
    schema["minItems"] = static_cast<std::int64_t>(minItems);
    schema["maxItems"] = static_cast<std::int64_t>(maxItems);
    return schema;
}

json::object texts(std::string_view description)
{
    json::object schema = ofType("object", description);
    schema["additionalProperties"] = json::object{{"type", "string"}};
    return schema;
}

json::object object(std::vector<Member> members, Others others, std::string_view description)
{
    json::object schema = ofType("object", description);
    json::object properties;
    json::array required;
    for (Member& member : members) {
        if (member.need == Need::required)
            required.emplace_back(member.name);
        properties.emplace(member.name, std::move(member.schema));
    }
    if (!properties.empty())
        schema.emplace("properties", std::move(properties));
    if (!required.empty())
        schema.emplace("required", std::move(required));
    if (others == Others::refused)
        schema["additionalProperties"] = false;
    return schema;
}

} // namespace zelvo::service::schema
