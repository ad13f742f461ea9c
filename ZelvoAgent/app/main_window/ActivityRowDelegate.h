#pragma once

#include "app/main_window/ActivityListModel.h"

#include <QPointer>
#include <QStyledItemDelegate>

namespace zelvo {

/// Draws the rows of the activity log. An expanded row shows its detail as a widget below its lines. Thread:
/// main.
class ActivityRowDelegate final : public QStyledItemDelegate {
public:
    explicit ActivityRowDelegate(QObject* parent) : QStyledItemDelegate(parent) {}

    /// The row that is expanded; empty for none.
    std::string expanded;

    void
    paint(QPainter* painter, QStyleOptionViewItem const& option, QModelIndex const& index) const override;
    QSize sizeHint(QStyleOptionViewItem const& option, QModelIndex const& index) const override;
    QWidget* createEditor(QWidget* parent,
                          QStyleOptionViewItem const& option,
                          QModelIndex const& index) const override;
    void updateEditorGeometry(QWidget* editor,
                              QStyleOptionViewItem const& option,
                              QModelIndex const& index) const override;

protected:
    /// The detail is no editor: Tab, Return and Escape mean there what they mean in the window.
    bool eventFilter(QObject*, QEvent*) override { return false; }

private:
    bool isExpanded(ActivityEntry const& entry) const { return entry.id == expanded; }
    void paintDay(QPainter& painter, QRect const& place, QString const& title) const;
    void paintEntry(QPainter& painter, QStyleOptionViewItem const& option, QModelIndex const& index) const;

    mutable QPointer<QWidget> detail;
};

} // namespace zelvo
