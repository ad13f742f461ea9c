#include "app/main_window/ActivityListModel.h"

#include "app/WrappedLabel.h"
#include "app/widgets/ElidedLabel.h"
#include "state/ActivityPresentation.h"

#include <algorithm>
#include <unordered_map>

namespace zelvo {

namespace {

constexpr std::size_t maxSpoken = 400; // Characters of a row that a screen reader gets.

std::vector<ActivityListModel::Row>
rowsOf(std::span<ActivityEntry const> entries, ActivityFilter filter, Date now, DayCalendar const& calendar)
{
    std::vector<ActivityEntry> kept;
    std::ranges::copy_if(entries, std::back_inserter(kept),
                         [filter](ActivityEntry const& entry) { return matches(filter, entry); });
    std::vector<ActivityListModel::Row> rows;
    for (ActivityDay& day : ActivityPresentation::days(kept, now, calendar)) {
        rows.push_back({.day = day.id, .dayTitle = std::move(day.title), .entry = {}});
        for (ActivityEntry& entry : day.entries)
            rows.push_back({.day = day.id, .dayTitle = {}, .entry = std::move(entry)});
    }
    return rows;
}

} // namespace

std::string ActivityListModel::Row::key() const
{
    return entry ? entry->id : "day " + std::to_string(day.time_since_epoch().count());
}

void ActivityListModel::show(std::span<ActivityEntry const> entries,
                             ActivityFilter filter,
                             Date now,
                             DayCalendar zone)
{
    calendar = std::move(zone);
    std::vector<Row> const next = rowsOf(entries, filter, now, calendar);
    std::vector<bool> const isKept = removeAllBut(next);
    for (std::size_t i = 0; i < next.size(); ++i) {
        std::size_t end = i;
        while (end < next.size() && !isKept[end])
            ++end;
        insert(i, std::span(next).subspan(i, end - i));
        i = end;
    }
    for (std::size_t i = 0; i < rows.size(); ++i)
        if (rows[i] != next[i]) {
            rows[i] = next[i];
            QModelIndex const changed = index(static_cast<int>(i));
            Q_EMIT dataChanged(changed, changed);
        }
}

// Rows keep their order, so what moved up is removed here and inserted there.
std::vector<bool> ActivityListModel::removeAllBut(std::span<Row const> next)
{
    std::unordered_map<std::string, std::size_t> places;
    for (std::size_t i = 0; i < next.size(); ++i)
        places.emplace(next[i].key(), i);
    std::vector<bool> isKept(next.size());
    std::vector<bool> stays(rows.size());
    std::size_t nextPlace = 0;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        auto const found = places.find(rows[i].key());
        if (found == places.end() || found->second < nextPlace)
            continue;
        stays[i] = isKept[found->second] = true;
        nextPlace = found->second + 1;
    }
    for (std::size_t end = rows.size(); end > 0;) {
        std::size_t first = end;
        while (first > 0 && !stays[first - 1])
            --first;
        remove(first, end - first);
        end = first == end ? end - 1 : first;
    }
    return isKept;
}

void ActivityListModel::remove(std::size_t first, std::size_t count)
{
    if (count == 0)
        return;
    beginRemoveRows({}, static_cast<int>(first), static_cast<int>(first + count) - 1);
    auto const from = rows.begin() + static_cast<std::ptrdiff_t>(first);
    rows.erase(from, from + static_cast<std::ptrdiff_t>(count));
    endRemoveRows();
}

void ActivityListModel::insert(std::size_t place, std::span<Row const> next)
{
    if (next.empty())
        return;
    beginInsertRows({}, static_cast<int>(place), static_cast<int>(place + next.size()) - 1);
    rows.insert(rows.begin() + static_cast<std::ptrdiff_t>(place), next.begin(), next.end());
    endInsertRows();
}

int ActivityListModel::rowCount(QModelIndex const& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(rows.size());
}

QVariant ActivityListModel::data(QModelIndex const& index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount())
        return {};
    Row const& row = rows[static_cast<std::size_t>(index.row())];
    switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleTextRole:
        return row.entry ? spoken(*row.entry) : toQString(row.dayTitle);
    case Qt::AccessibleDescriptionRole:
        return row.entry && row.entry->detail ? shownText(*row.entry->detail, maxSpoken) : QString();
    case entryIdRole:
        return row.entry ? toQString(row.entry->id) : QString();
    case isDayRole:
        return !row.entry;
    default:
        return {};
    }
}

Qt::ItemFlags ActivityListModel::flags(QModelIndex const& index) const
{
    // A day's title is no place for the keyboard.
    return entryAt(index) ? Qt::ItemIsEnabled | Qt::ItemIsSelectable : Qt::ItemFlags(Qt::NoItemFlags);
}

QString ActivityListModel::spoken(ActivityEntry const& entry) const
{
    QString const summary = shownText(entry.summary, maxSpoken);
    QString const subtitle = shownText(ActivityPresentation::subtitle(entry), maxSpoken);
    return summary + ", " + subtitle + ", " + timeOf(entry);
}

QString ActivityListModel::timeOf(ActivityEntry const& entry) const
{
    return toQString(calendar.hourAndMinute(entry.at));
}

ActivityEntry const* ActivityListModel::entryAt(QModelIndex const& index) const
{
    if (!index.isValid() || index.row() >= rowCount())
        return nullptr;
    auto const& entry = rows[static_cast<std::size_t>(index.row())].entry;
    return entry ? &*entry : nullptr;
}

QModelIndex ActivityListModel::indexOf(std::string const& entryId) const
{
    auto const found =
        std::ranges::find_if(rows, [&](Row const& row) { return row.entry && row.entry->id == entryId; });
    return found == rows.end() ? QModelIndex() : index(static_cast<int>(found - rows.begin()));
}

} // namespace zelvo
