#pragma once

#include "ZelvoGateway/base/DataFolder.h"

#include <string>
#include <string_view>

namespace zelvo::service {

/// The key by which platforms, and the console in its cookie, prove that they may use this gateway. It is
/// made at the first start and stands in the file "api-key" of the data folder; "authorization.header" beside
/// it holds the whole HTTP header, so that `curl -H @FILE` keeps the key off the process list.
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
