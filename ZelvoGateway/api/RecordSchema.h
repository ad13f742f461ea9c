#pragma once

#include "wire/records/RecordCodec.h"

#include <boost/core/type_name.hpp>

#include <string>

namespace zelvo::service {

/// "Connection" for records::Connection.
template <class R>
std::string recordName()
{
    std::string const full = boost::core::type_name<R>();
    return full.substr(full.rfind(':') + 1);
}

inline json::object schemaReference(std::string const& name)
{
    return {{"$ref", "#/components/schemas/" + name}};
}

/// The JSON Schema of what RecordCodec reads and writes for a type. Records are added to `schemas` under
/// their names, and referred to.
template <class T>
struct SchemaOf;

template <class T>
json::object schemaOf(json::object& schemas)
{
    return SchemaOf<T>::make(schemas);
}

template <>
struct SchemaOf<std::string> {
    static json::object make(json::object&) { return {{"type", "string"}}; }
};
template <>
struct SchemaOf<json::string> : SchemaOf<std::string> {};
template <>
struct SchemaOf<bool> {
    static json::object make(json::object&) { return {{"type", "boolean"}}; }
};
template <std::integral N>
struct SchemaOf<N> {
    static json::object make(json::object&) { return {{"type", "integer"}}; }
};
template <std::floating_point N>
struct SchemaOf<N> {
    static json::object make(json::object&) { return {{"type", "number"}}; }
};
template <>
struct SchemaOf<json::value> {
    static json::object make(json::object&) { return {}; }
};
template <>
struct SchemaOf<json::object> {
    static json::object make(json::object&) { return {{"type", "object"}}; }
};
template <records::WireEnum E>
struct SchemaOf<E> {
    static json::object make(json::object&)
    {
        json::array texts;
        for (std::string_view const text : EnumTexts<E>::texts)
            texts.emplace_back(text);
        return {{"type", "string"}, {"enum", std::move(texts)}};
    }
};
template <class T>
struct SchemaOf<std::vector<T>> {
    static json::object make(json::object& schemas)
    {
        return {{"type", "array"}, {"items", schemaOf<T>(schemas)}};
    }
};
template <class T>
struct SchemaOf<std::map<std::string, T>> {
    static json::object make(json::object& schemas)
    {
        return {{"type", "object"}, {"additionalProperties", schemaOf<T>(schemas)}};
    }
};
template <class T>
struct SchemaOf<std::optional<T>> : SchemaOf<T> {};
template <class T>
    requires std::is_arithmetic_v<T> || std::same_as<T, std::string>
struct SchemaOf<records::Nullable<T>> {
    static json::object make(json::object& schemas)
    {
        json::object schema = schemaOf<T>(schemas);
        schema["type"] = json::array{schema.at("type"), "null"};
        return schema;
    }
};

template <records::Record R>
struct SchemaOf<R> {
    static json::object make(json::object& schemas)
    {
        std::string const name = recordName<R>();
        if (!schemas.contains(name)) {
            schemas[name] = json::object(); // A record may hold itself.
            schemas[name] = describe(schemas);
        }
        return schemaReference(name);
    }

private:
    static json::object describe(json::object& schemas)
    {
        json::object properties;
        json::array required;
        boost::mp11::mp_for_each<records::FieldsOf<R>>([&](auto field) {
            using Field = std::remove_cvref_t<decltype(std::declval<R&>().*field.pointer)>;
            properties[field.name] = schemaOf<Field>(schemas);
            if (!records::IsOptional<Field>::value || records::IsNullable<Field>::value)
                required.emplace_back(field.name);
        });
        json::object schema{{"type", "object"}, {"properties", std::move(properties)}};
        if (!required.empty())
            schema["required"] = std::move(required);
        return schema;
    }
};

} // namespace zelvo::service
