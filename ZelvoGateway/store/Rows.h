#pragma once

#include "ZelvoGateway/store/Database.h"
#include "base/Clock.h"

#include <optional>
#include <vector>

namespace zelvo::service {

/// A date as most tables keep it: milliseconds since 1970.
inline std::int64_t millisecondsOf(Date date)
{
    return std::chrono::floor<std::chrono::milliseconds>(date).time_since_epoch().count();
}

inline Date dateOfMilliseconds(std::int64_t milliseconds)
{
    return Date(std::chrono::milliseconds(milliseconds));
}

/// Every row of a statement, as `read` takes it.
template <class F>
auto allOf(Statement statement, F read)
{
    std::vector<decltype(read(statement))> all;
    while (statement.step())
        all.push_back(read(statement));
    return all;
}

/// Its first row; nothing when there is none.
template <class F>
auto firstOf(Statement statement, F read)
{
    using Value = decltype(read(statement));
    return statement.step() ? std::optional<Value>(read(statement)) : std::nullopt;
}

} // namespace zelvo::service
