#pragma once

#include "wire/EnumText.h"
#include "wire/Json.h"

#include <boost/describe/class.hpp>
#include <boost/describe/members.hpp>
#include <boost/mp11/algorithm.hpp>

#include <concepts>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

/// Reads and writes the records of the wire. A record is a struct whose fields, made known by
/// BOOST_DESCRIBE_STRUCT, have the names of the wire keys. A field of type std::optional may be absent or
/// null and is left out when it is empty; one of type Nullable is written as null instead. Every other key is
/// required. Enumerations go by their wire texts,
/// json::value is any value, json::object a map of text to any value. Keys that a record does not have are
/// passed over.
namespace zelvo::records {

template <class R>
concept Record = std::is_class_v<R> && boost::describe::has_describe_members<R>::value;

template <class E>
concept WireEnum = std::is_enum_v<E> && requires { EnumTexts<E>::texts; };

template <class T>
struct IsOptional : std::false_type {};
template <class T>
struct IsOptional<std::optional<T>> : std::true_type {};

/// A value that may be absent, whose key is always written.
template <class T>
struct Nullable : std::optional<T> {
    using std::optional<T>::optional;
    using std::optional<T>::operator=;

    friend bool operator==(Nullable const& left, Nullable const& right)
    {
        return static_cast<std::optional<T> const&>(left) == static_cast<std::optional<T> const&>(right);
    }
};
template <class T>
struct IsOptional<Nullable<T>> : std::true_type {};

template <class T>
struct IsNullable : std::false_type {};
template <class T>
struct IsNullable<Nullable<T>> : std::true_type {};

template <Record R>
using FieldsOf = boost::describe::describe_members<R, boost::describe::mod_public>;

// What a plain value looks like in JSON, and back. Nothing when the JSON value is of another type.

inline json::value toJson(std::string const& text)
{
    return json::value(text);
}
inline json::value toJson(json::string text)
{
    return text;
}
inline json::value toJson(json::value value)
{
    return value;
}
inline json::value toJson(json::object object)
{
    return object;
}
template <class N>
    requires std::is_arithmetic_v<N>
json::value toJson(N number)
{
    if constexpr (std::is_floating_point_v<N>)
        return plainNumber(number);
    else
        return number;
}
template <WireEnum E>
json::value toJson(E value)
{
    return json::value(rawValue(value));
}
template <class T>
json::value toJson(std::vector<T> list);
template <class T>
json::value toJson(std::map<std::string, T> const& map);
/// What is handed over is moved, never copied: it may be a picture.
template <Record R>
json::object toJson(R record);

template <class T>
struct FromJson;

/// The record that a JSON value holds; nothing when a required key is missing or a key is of the wrong type.
template <class T>
std::optional<T> fromJson(json::value const& value)
{
    return FromJson<T>::read(value);
}

/// The record that a JSON text holds.
template <Record R>
std::optional<R> fromText(std::string_view text)
{
    auto const value = parseJson(text);
    return value ? fromJson<R>(*value) : std::nullopt;
}

template <>
struct FromJson<json::value> {
    static std::optional<json::value> read(json::value const& value) { return value; }
};
template <>
struct FromJson<json::object> {
    static std::optional<json::object> read(json::value const& value)
    {
        return value.is_object() ? std::optional(value.get_object()) : std::nullopt;
    }
};
template <>
struct FromJson<std::string> {
    static std::optional<std::string> read(json::value const& value)
    {
        return value.is_string() ? std::optional(std::string(value.get_string())) : std::nullopt;
    }
};
template <>
struct FromJson<json::string> {
    static std::optional<json::string> read(json::value const& value)
    {
        return value.is_string() ? std::optional(value.get_string()) : std::nullopt;
    }
};
template <>
struct FromJson<bool> {
    static std::optional<bool> read(json::value const& value)
    {
        return value.is_bool() ? std::optional(value.get_bool()) : std::nullopt;
    }
};
template <std::floating_point N>
struct FromJson<N> {
    static std::optional<N> read(json::value const& value)
    {
        if (value.is_int64())
            return static_cast<N>(value.get_int64());
        return value.is_double() ? std::optional(static_cast<N>(value.get_double())) : std::nullopt;
    }
};
template <std::integral N>
struct FromJson<N> {
    static std::optional<N> read(json::value const& value)
    {
        if (!value.is_int64() || !std::in_range<N>(value.get_int64()))
            return std::nullopt;
        return static_cast<N>(value.get_int64());
    }
};
template <WireEnum E>
struct FromJson<E> {
    static std::optional<E> read(json::value const& value)
    {
        return value.is_string() ? fromRawValue<E>(std::string_view(value.get_string())) : std::nullopt;
    }
};
template <class T>
struct FromJson<std::vector<T>> {
    static std::optional<std::vector<T>> read(json::value const& value)
    {
        if (!value.is_array())
            return std::nullopt;
        std::vector<T> list;
        for (json::value const& element : value.get_array()) {
            auto item = fromJson<T>(element);
            if (!item)
                return std::nullopt;
            list.push_back(*std::move(item));
        }
        return list;
    }
};
template <class T>
struct FromJson<std::map<std::string, T>> {
    static std::optional<std::map<std::string, T>> read(json::value const& value)
    {
        if (!value.is_object())
            return std::nullopt;
        std::map<std::string, T> map;
        for (auto const& member : value.get_object()) {
            auto item = fromJson<T>(member.value());
            if (!item)
                return std::nullopt;
            map.emplace(std::string(member.key()), *std::move(item));
        }
        return map;
    }
};

/// Reads one field of a record; false when the record can't be read because of it.
template <class Field>
bool readField(Field& field, json::value const* value)
{
    if constexpr (IsOptional<Field>::value) {
        if (!value || value->is_null())
            return true;
        field = fromJson<typename Field::value_type>(*value);
        return field.has_value();
    } else {
        auto read = value ? fromJson<Field>(*value) : std::nullopt;
        if (!read)
            return false;
        field = *std::move(read);
        return true;
    }
}

template <Record R>
struct FromJson<R> {
    static std::optional<R> read(json::value const& value)
    {
        if (!value.is_object())
            return std::nullopt;
        R record;
        bool complete = true;
        boost::mp11::mp_for_each<FieldsOf<R>>([&](auto field) {
            complete =
                complete && readField(record.*field.pointer, value.get_object().if_contains(field.name));
        });
        return complete ? std::optional(std::move(record)) : std::nullopt;
    }
};

template <class T>
json::value toJson(std::vector<T> list)
{
    json::array array;
    array.reserve(list.size());
    for (T& item : list)
        array.push_back(toJson(std::move(item)));
    return array;
}

template <class T>
json::value toJson(std::map<std::string, T> const& map)
{
    json::object object;
    for (auto const& [key, item] : map)
        object[key] = toJson(item);
    return object;
}

template <Record R>
json::object toJson(R record)
{
    json::object object;
    boost::mp11::mp_for_each<FieldsOf<R>>([&](auto field) {
        auto& value = record.*field.pointer;
        using Field = std::remove_cvref_t<decltype(value)>;
        if constexpr (!IsOptional<Field>::value)
            object[field.name] = toJson(std::move(value));
        else if (value)
            object[field.name] = toJson(*std::move(value));
        else if constexpr (IsNullable<Field>::value)
            object[field.name] = nullptr;
    });
    return object;
}

} // namespace zelvo::records
