#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zelvo {

/// The values that the packaging gives the program: addresses, keys and the version.
/// Thread: any; read once at start.
/// Made by: platform/portable/settings/FileInformationDictionary, tests/fakes/FakeDesktop.h.
class InformationDictionary {
public:
    virtual ~InformationDictionary() = default;
    /// `nullopt` if the key is missing or its value is not a text.
    virtual std::optional<std::string> text(std::string_view key) const = 0;
};

} // namespace zelvo
