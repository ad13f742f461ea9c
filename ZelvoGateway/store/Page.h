#pragma once

#include "ZelvoGateway/base/Caller.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo::service {

constexpr std::size_t maxListed = 200; ///< rows of a page

/// Where a page of a list ends. A list is ordered by date and id, newest first, so rows that are added or
/// removed between two pages neither repeat nor skip others.
struct PageCursor {
    std::string createdAt; ///< ISO 8601
    std::string id;
    bool operator==(PageCursor const&) const = default;
};

/// The cursor as callers hold it, "2026-11-21T02:38:27.123Z~con_1f0e".
std::string textOf(PageCursor const& cursor);
/// nullopt for a text that can't be one.
std::optional<PageCursor> pageCursorFrom(std::string_view text);

/// Which rows of a list are asked for.
struct PageQuery {
    std::optional<PageCursor> before = {}; ///< only older ones
    std::size_t limit = 100;               ///< 1 to maxListed
    /// Only rows that belong to these; a list ignores what it has no column for.
    std::optional<std::string> endUserId = {};
    std::optional<std::string> machineId = {};
    std::optional<std::string> externalId = {};
    std::optional<std::string> connectionId = {};
    Reach reach = {.all = true}; ///< only rows that it covers
};

/// Rows of a list, newest first.
template <class T>
struct Page {
    std::vector<T> rows = {};
    std::optional<PageCursor> next = {}; ///< set if there are older ones
};

} // namespace zelvo::service
