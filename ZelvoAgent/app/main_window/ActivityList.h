#pragma once

#include "app/main_window/ActivityListModel.h"

#include <QListView>

#include <functional>
#include <span>
#include <string>

namespace zelvo {

class ActivityRowDelegate;

/// The rows of the activity log. A click, Return or Space expands a row that has a detail; one row at most is
/// expanded. Thread: main.
class ActivityList final : public QListView {
public:
    explicit ActivityList(QWidget* parent);

    ActivityListModel const& rows() const { return *listModel; }
    /// Shows the log. What is expanded, chosen and in sight stays.
    void setEntries(std::span<ActivityEntry const> entries, ActivityFilter filter, Date now);
    /// The expanded entry; empty for none. An entry that is not in the list expands nothing.
    void setExpanded(std::string const& entryId);
    std::string const& expanded() const;
    /// Called when the person expanded or closed a row.
    std::function<void(std::string const& entryId)> onExpanded;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool viewportEvent(QEvent* event) override;

private:
    void restore(std::string const& chosen);
    void toggle(QModelIndex const& index);

    ActivityListModel* listModel;
    ActivityRowDelegate* delegate;
};

} // namespace zelvo
