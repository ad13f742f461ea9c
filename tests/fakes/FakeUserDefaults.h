#pragma once

#include "platform/UserDefaults.h"
#include "wire/Json.h"

#include <map>
#include <mutex>
#include <string>

namespace zelvo {

/// Settings in memory, each as the content of its file.
class FakeUserDefaults final : public UserDefaults {
public:
    std::map<std::string, std::string, std::less<>> contents; ///< what a test reads and sets
    int sets = 0; ///< values that were set, also those that stood there already
    int writtenCalls = 0;
    int finalWrites = 0; ///< final writes at the normal end

    void bringUpToDate() override {}
    std::optional<std::string> text(std::string_view key) override
    {
        auto const value = parsed(key);
        return value && value->is_string() ? std::optional(std::string(value->get_string())) : std::nullopt;
    }
    std::optional<bool> boolean(std::string_view key) override
    {
        auto const value = parsed(key);
        return value && value->is_bool() ? std::optional(value->get_bool()) : std::nullopt;
    }
    std::optional<std::int64_t> integer(std::string_view key) override
    {
        auto const value = parsed(key);
        return value && value->is_int64() ? std::optional(value->get_int64()) : std::nullopt;
    }
    std::optional<std::vector<std::string>> textArray(std::string_view key) override
    {
        auto const value = parsed(key);
        if (!value || !value->is_array())
            return std::nullopt;
        std::vector<std::string> texts;
        for (json::value const& item : value->get_array()) {
            if (!item.is_string())
                return std::nullopt;
            texts.emplace_back(item.get_string());
        }
        return texts;
    }
    std::optional<std::string> bytes(std::string_view key) override
    {
        std::scoped_lock guard(lock);
        auto const entry = contents.find(key);
        return entry == contents.end() ? std::nullopt : std::optional(entry->second);
    }

    void setText(std::string_view key, std::string value) override
    {
        setBytes(key, writeJson(json::value(value)));
    }
    void setBoolean(std::string_view key, bool value) override { setBytes(key, value ? "true" : "false"); }
    void setInteger(std::string_view key, std::int64_t value) override
    {
        setBytes(key, std::to_string(value));
    }
    void setTextArray(std::string_view key, std::vector<std::string> value) override
    {
        json::array array;
        for (std::string const& text : value)
            array.emplace_back(text);
        setBytes(key, writeJson(array));
    }
    void setBytes(std::string_view key, std::string value) override
    {
        std::scoped_lock guard(lock);
        ++sets;
        contents.insert_or_assign(std::string(key), std::move(value));
    }

    Task<> written() override
    {
        ++writtenCalls;
        co_return;
    }
    void writeNow() override { ++finalWrites; }

private:
    std::optional<json::value> parsed(std::string_view key)
    {
        auto const content = bytes(key);
        return content ? parseJson(*content) : std::nullopt;
    }

    std::mutex lock;
};

} // namespace zelvo
