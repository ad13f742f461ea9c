#pragma once

#include "ZelvoGateway/base/Dates.h"
#include "ZelvoGateway/store/Database.h"

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace zelvo::service {

/// Every row of a statement, converted by `read`.
template <class F>
auto allOf(Statement statement, F read)
{
    std::vector<decltype(read(statement))> all;
    while (statement.step())
        all.push_back(read(statement));
    return all;
}

/// Its first row; nullopt if there is none.
template <class F>
auto firstOf(Statement statement, F read)
{
    using Value = decltype(read(statement));
    return statement.step() ? std::optional<Value>(read(statement)) : std::nullopt;
}

/// Texts as a JSON list, for json_each().
std::string listText(std::set<std::string, std::less<>> const& texts);

} // namespace zelvo::service
