#pragma once

#include "ZelvoGateway/store/Page.h"
#include "ZelvoGateway/store/Rows.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zelvo::service {

/// A column and the value that its rows must have; every row fits if there is no value.
using PageFilter = std::pair<std::string_view, std::optional<std::string>>;

/// A condition on the rows that a reach covers. Each "?" of `sql` gets one of the values.
struct PageReach {
    std::string_view sql;
    std::vector<std::string> values = {}; ///< see listText()
};

/// A page of the rows that fit all filters and that the query's reach covers. The table has the columns
/// "created_at" and "id". select   "SELECT ... FROM ..." read     converts a row to a value with the fields
/// "createdAt" and "id"
template <class F>
auto pageOf(Database& database,
            std::string_view select,
            std::vector<PageFilter> const& filters,
            PageQuery const& query,
            F read,
            PageReach const& reach = {.sql = "1"})
{
    std::string sql = std::string(select) + " WHERE 1";
    for (auto const& [column, value] : filters)
        if (value)
            sql += " AND " + std::string(column) + " = ?";
    if (!query.reach.all)
        sql += " AND " + std::string(reach.sql);
    if (query.before)
        sql += " AND (created_at, id) < (?, ?)";
    Statement statement = database.prepare(sql + " ORDER BY created_at DESC, id DESC LIMIT ?");
    for (auto const& [column, value] : filters)
        if (value)
            statement.bind(*value);
    if (!query.reach.all)
        for (std::string const& value : reach.values)
            statement.bind(value);
    if (query.before)
        statement.bind(query.before->createdAt).bind(query.before->id);
    // One more shows whether there is a next page.
    auto rows = allOf(std::move(statement.bind(static_cast<std::int64_t>(query.limit + 1))), read);
    Page<typename decltype(rows)::value_type> page{.rows = std::move(rows)};
    if (page.rows.size() > query.limit) {
        page.rows.resize(query.limit);
        page.next = {.createdAt = page.rows.back().createdAt, .id = page.rows.back().id};
    }
    return page;
}

} // namespace zelvo::service
