#pragma once

#include "base/Task.h"

#include <boost/json/value.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo {

/// The person's stored settings, by key. A new value is in force at once and on disk within 100 ms; only the
/// newest value of a key is written, in one step, off the caller's thread. A value that another program
/// changed is taken over at the next read. What cannot be read as the wanted type reads as absent; what
/// cannot be written stays unwritten. Thread: any. Made by: platform/linux/FileUserDefaults,
/// tests/fakes/FakeUserDefaults.
class UserDefaults {
public:
    virtual ~UserDefaults() = default;

    virtual std::optional<std::string> text(std::string_view key) = 0;
    virtual std::optional<bool> boolean(std::string_view key) = 0;
    virtual std::optional<std::int64_t> integer(std::string_view key) = 0;
    virtual std::optional<std::vector<std::string>> textArray(std::string_view key) = 0;
    /// A value that is stored as bytes: its content as it stands.
    virtual std::optional<std::string> bytes(std::string_view key) = 0;

    virtual void setText(std::string_view key, std::string value) = 0;
    virtual void setBoolean(std::string_view key, bool value) = 0;
    virtual void setInteger(std::string_view key, std::int64_t value) = 0;
    virtual void setTextArray(std::string_view key, std::vector<std::string> value) = 0;
    virtual void setBytes(std::string_view key, std::string value) = 0;

    /// Resumes when all that was set before the call is on disk, or could not be written.
    virtual Task<> written() = 0;
    /// Writes what is left and waits for it, at the normal end. Blocks.
    virtual void writeNow() = 0;
};

} // namespace zelvo
