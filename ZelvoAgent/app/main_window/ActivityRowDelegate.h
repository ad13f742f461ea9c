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

private:
    bool isExpanded(ActivityEntry const& entry) const { return entry.id == expanded; }
    void paintDay(QPainter& painter, QRect const& place, QString const& title, QPalette const& palette) const;
    void paintEntry(QPainter& painter, QStyleOptionViewItem const& option, QModelIndex const& index) const;

    mutable QPointer<QWidget> detail;
};

} // namespace zelvo
