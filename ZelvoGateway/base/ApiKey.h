#pragma once

#include "ZelvoGateway/base/DataFolder.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace zelvo::service {

/// The built-in key, which reaches everything. The first start makes it and writes it to the file "api-key"
/// in the data folder; "authorization.header" beside it holds the whole HTTP header, so that `curl -H @FILE`
/// keeps the key out of the process list.
class ApiKey {
public:
    static constexpr std::string_view id = "key_builtin"; ///< by which callers and events name this key
    static constexpr std::string_view name = "Built-in key";

    /// The key in a data folder; nullopt if there is none. Throws std::runtime_error if it can't be used.
    static std::optional<ApiKey> stored(std::filesystem::path const& dataFolder);
    static ApiKey loadOrMake(DataFolder const& folder);
    explicit ApiKey(std::string text) : text(std::move(text)) {}

    bool matches(std::string_view candidate) const;
    std::string const& value() const { return text; }

private:
    std::string text;
};

} // namespace zelvo::service
