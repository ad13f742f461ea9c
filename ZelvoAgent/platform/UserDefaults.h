#pragma once

#include "base/Task.h"

#include <boost/json/value.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo {

/// The user's stored settings, by key. A new value is valid at once and on disk within 100 ms. Only the
/// newest value of a key is written, atomically and off the caller's thread. A read sees changes that other
/// programs made. A value of another type reads as absent; a value that cannot be written stays unwritten.
/// Thread: any. Made by: platform/portable/settings/FileUserDefaults, tests/fakes/FakeUserDefaults.
class UserDefaults {
public:
    virtual ~UserDefaults() = default;

    /// Brings values that an older version stored up to date, after a copy. Called once, by the one running
    /// program, before it uses the values. Throws std::runtime_error, in the person's language, if that fails
    /// or if a newer version stored them. Blocks.
    virtual void bringUpToDate() = 0;

    virtual std::optional<std::string> text(std::string_view key) = 0;
    virtual std::optional<bool> boolean(std::string_view key) = 0;
    virtual std::optional<std::int64_t> integer(std::string_view key) = 0;
    virtual std::optional<std::vector<std::string>> textArray(std::string_view key) = 0;
    /// The raw content of a value that is stored as bytes.
    virtual std::optional<std::string> bytes(std::string_view key) = 0;

    virtual void setText(std::string_view key, std::string value) = 0;
    virtual void setBoolean(std::string_view key, bool value) = 0;
    virtual void setInteger(std::string_view key, std::int64_t value) = 0;
    virtual void setTextArray(std::string_view key, std::vector<std::string> value) = 0;
    virtual void setBytes(std::string_view key, std::string value) = 0;

    /// Resumes when every value set before the call is on disk or failed to be written.
    virtual Task<> written() = 0;
    /// Writes the remaining values and waits for that, at the normal end. Blocks.
    virtual void writeNow() = 0;
};

} // namespace zelvo
