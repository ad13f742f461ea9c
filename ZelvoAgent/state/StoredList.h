#pragma once

#include "wire/Json.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The stored form of lists: a JSON array of records. One invalid record makes the whole list invalid.
namespace zelvo::stored {

template <class Record>
std::optional<std::vector<Record>> decodeList(std::string_view bytes)
{
    std::optional<json::value> const parsed = parseJson(bytes);
    json::array const* const array = parsed ? parsed->if_array() : nullptr;
    if (!array)
        return std::nullopt;
    std::vector<Record> list;
    for (json::value const& item : *array) {
        auto record = Record::fromJson(item);
        if (!record)
            return std::nullopt;
        list.push_back(*std::move(record));
    }
    return list;
}

template <class Record>
std::string encodeList(std::vector<Record> const& list)
{
    json::array array;
    array.reserve(list.size());
    for (Record const& record : list)
        array.emplace_back(record.toJson());
    return writeJson(array);
}

/// A boolean that may be missing or null. The outer optional is empty if the value has the wrong type.
inline std::optional<std::optional<bool>> optionalTruth(json::object const& object, std::string_view key)
{
    json::value const* const value = object.if_contains(key);
    if (!value || value->is_null())
        return std::optional<bool>();
    if (!value->is_bool())
        return std::nullopt;
    return std::optional<bool>(value->get_bool());
}

inline std::optional<std::optional<std::string>> optionalText(json::object const& object,
                                                              std::string_view key)
{
    json::value const* const value = object.if_contains(key);
    if (!value || value->is_null())
        return std::optional<std::string>();
    if (!value->is_string())
        return std::nullopt;
    return std::optional<std::string>(std::string(value->get_string()));
}

inline std::optional<std::optional<std::int64_t>> optionalInteger(json::object const& object,
                                                                  std::string_view key)
{
    json::value const* const value = object.if_contains(key);
    if (!value || value->is_null())
        return std::optional<std::int64_t>();
    if (!value->is_int64())
        return std::nullopt;
    return std::optional<std::int64_t>(value->get_int64());
}

} // namespace zelvo::stored
