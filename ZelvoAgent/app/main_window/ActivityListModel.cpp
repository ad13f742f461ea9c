#include "app/main_window/ActivityListModel.h"

#include "app/WrappedLabel.h"
#include "app/widgets/ElidedLabel.h"
#include "state/ActivityPresentation.h"

#include <algorithm>

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

bool ActivityListModel::Row::isSameAs(Row const& other) const
{
    if (entry && other.entry)
        return entry->id == other.entry->id;
    return !entry && !other.entry && day == other.day;
}

void ActivityListModel::show(std::span<ActivityEntry const> entries,
                             ActivityFilter filter,
                             Date now,
                             DayCalendar zone)
{
    calendar = std::move(zone);
    std::vector<Row> const next = rowsOf(entries, filter, now, calendar);
    auto const same = [](Row const& left, Row const& right) { return left.isSameAs(right); };
    // New entries come at the front and old ones go at the end, so the middle stays in one piece.
    std::size_t bestOld = rows.size();
    std::size_t bestNew = next.size();
    std::size_t length = 0;
    for (std::size_t from = 0; from < next.size() && length == 0; ++from) {
        auto const found = std::ranges::find_if(
            rows, [&](Row const& row) { return next[from].entry && same(row, next[from]); });
        if (found == rows.end())
            continue;
        bestOld = static_cast<std::size_t>(found - rows.begin());
        bestNew = from;
        while (bestOld + length < rows.size() && bestNew + length < next.size() &&
               same(rows[bestOld + length], next[bestNew + length]))
            ++length;
    }
    std::span<Row const> const all(next);
    std::size_t const tailOld = bestOld + length;
    replace(tailOld, rows.size() - tailOld, all.subspan(bestNew + length));
    replace(0, bestOld, all.first(bestNew));
    for (std::size_t i = 0; i < rows.size(); ++i)
        if (rows[i] != next[i]) {
            rows[i] = next[i];
            QModelIndex const changed = index(static_cast<int>(i));
            Q_EMIT dataChanged(changed, changed);
        }
}

void ActivityListModel::replace(std::size_t first, std::size_t oldCount, std::span<Row const> next)
{
    auto const place = [&] { return rows.begin() + static_cast<std::ptrdiff_t>(first); };
    // A title that stays at its end keeps its row.
    while (oldCount > 0 && !next.empty() && rows[first].isSameAs(next.front())) {
        rows[first] = next.front();
        ++first;
        --oldCount;
        next = next.subspan(1);
    }
    int const from = static_cast<int>(first);
    if (oldCount > 0) {
        beginRemoveRows({}, from, from + static_cast<int>(oldCount) - 1);
        rows.erase(place(), place() + static_cast<std::ptrdiff_t>(oldCount));
        endRemoveRows();
    }
    if (!next.empty()) {
        beginInsertRows({}, from, from + static_cast<int>(next.size()) - 1);
        rows.insert(place(), next.begin(), next.end());
        endInsertRows();
    }
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
