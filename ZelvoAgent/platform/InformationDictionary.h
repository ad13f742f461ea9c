#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zelvo {

/// What the program's packaging says of it: addresses, keys and the version.
/// Thread: any; read once at start.
/// Made by: platform/linux/FileInformationDictionary, tests/fakes/FakeInformationDictionary.
class InformationDictionary {
public:
    virtual ~InformationDictionary() = default;
    /// Nothing when the key is missing or its value is not a text.
    virtual std::optional<std::string> text(std::string_view key) const = 0;
};

} // namespace zelvo
