#pragma once

#include "ZelvoGateway/base/DataFolder.h"

#include <string>
#include <string_view>

namespace zelvo::service {

/// The key that platforms need to use this gateway. The first start makes it
/// and writes it to the file "api-key" in the data folder; "authorization.header" beside it holds the whole
/// HTTP header, so that `curl -H @FILE` keeps the key out of the process list.
class ApiKey {
public:
    static ApiKey loadOrMake(DataFolder const& folder);
    explicit ApiKey(std::string text) : text(std::move(text)) {}

    bool matches(std::string_view candidate) const;
    std::string const& value() const { return text; }

private:
    std::string text;
};

} // namespace zelvo::service
