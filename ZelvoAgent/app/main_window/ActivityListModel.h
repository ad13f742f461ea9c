#pragma once

#include "base/DayCalendar.h"
#include "state/ActivityEntry.h"
#include "state/ActivityFilter.h"

#include <QAbstractListModel>

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace zelvo {

/// The activity log as rows: each day's title, then its entries, newest first. A change of the log becomes
/// the smallest change of the rows, so that a view keeps what is selected and where it is scrolled. Thread:
/// main.
class ActivityListModel final : public QAbstractListModel {
public:
    enum Role { entryIdRole = Qt::UserRole, isDayRole };

    explicit ActivityListModel(QObject* parent) : QAbstractListModel(parent) {}

    /// entries  newest first
    void show(std::span<ActivityEntry const> entries,
              ActivityFilter filter,
              Date now,
              DayCalendar zone = DayCalendar());

    int rowCount(QModelIndex const& parent = {}) const override;
    QVariant data(QModelIndex const& index, int role) const override;
    Qt::ItemFlags flags(QModelIndex const& index) const override;

    /// The entry of a row; null for a day's title.
    ActivityEntry const* entryAt(QModelIndex const& index) const;
    QModelIndex indexOf(std::string const& entryId) const;
    /// "09:05", in the time zone of the last show().
    QString timeOf(ActivityEntry const& entry) const;

    struct Row {
        Date day; ///< when the row's day begins
        std::string dayTitle;
        std::optional<ActivityEntry> entry; ///< `nullopt` for the day's title
        bool operator==(Row const&) const = default;
        /// Names the row, whatever its text.
        std::string key() const;
    };

private:
    QString spoken(ActivityEntry const& entry) const;
    /// Returns which of the next rows are left.
    std::vector<bool> removeAllBut(std::span<Row const> next);
    void remove(std::size_t first, std::size_t count);
    void insert(std::size_t place, std::span<Row const> next);

    std::vector<Row> rows;
    DayCalendar calendar;
};

} // namespace zelvo
