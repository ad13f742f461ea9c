#include "app/main_window/ActivityRowDelegate.h"

#include "app/Theme.h"
#include "app/WrappedLabel.h"
#include "app/main_window/ActivityDetail.h"
#include "app/widgets/Spacing.h"
#include "app/widgets/Symbol.h"
#include "app/widgets/TextLabel.h"
#include "state/ActivityPresentation.h"

#include <QApplication>
#include <QLayout>
#include <QPainter>

#include <algorithm>

namespace zelvo {

namespace {

// Points.
constexpr int sides = spacing::small;
constexpr int above = 7;
constexpr int dayAbove = 14;
constexpr int lineGap = 2;
constexpr int textLeft = sides + Symbol::size + spacing::small;
constexpr int chevron = 12;
constexpr int chevronPlace = chevron + spacing::small;

constexpr std::size_t maxCharacters = 400;

int lineHeights()
{
    return QFontMetrics(QApplication::font()).height() + lineGap + QFontMetrics(Theme::smallFont()).height();
}

int entryHeight()
{
    return 2 * above + lineHeights();
}

void drawElided(
    QPainter& painter, QRect const& place, QFont const& font, QColor const& color, QString const& text)
{
    painter.setFont(font);
    painter.setPen(color);
    QString const shown = QFontMetrics(font).elidedText(text, Qt::ElideRight, place.width());
    painter.drawText(place, Qt::AlignLeading | Qt::AlignVCenter | Qt::TextSingleLine, shown);
}

void drawChevron(QPainter& painter, QRect const& row, bool isExpanded, QColor const& color)
{
    painter.save();
    painter.translate(row.right() - sides - chevron / 2.0, row.top() + entryHeight() / 2.0);
    painter.rotate(isExpanded ? 90 : 0);
    Symbol::draw(painter, "chevron.right", QRectF(-chevron / 2.0, -chevron / 2.0, chevron, chevron), color);
    painter.restore();
}

} // namespace

void ActivityRowDelegate::paint(QPainter* painter,
                                QStyleOptionViewItem const& option,
                                QModelIndex const& index) const
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    if (index.data(ActivityListModel::isDayRole).toBool())
        paintDay(*painter, option.rect, index.data().toString());
    else
        paintEntry(*painter, option, index);
    painter->restore();
}

void ActivityRowDelegate::paintDay(QPainter& painter, QRect const& place, QString const& title) const
{
    QFont font = Theme::smallFont();
    font.setWeight(QFont::DemiBold);
    drawElided(painter, place.adjusted(sides, dayAbove / 2, -sides, 0), font,
               Theme(QApplication::palette()).secondary, title);
}

void ActivityRowDelegate::paintEntry(QPainter& painter,
                                     QStyleOptionViewItem const& option,
                                     QModelIndex const& index) const
{
    auto const& model = static_cast<ActivityListModel const&>(*index.model());
    ActivityEntry const& entry = *model.entryAt(index);
    Theme const theme(option.palette);
    QRect const row = option.rect;
    bool const hasFocus = option.state.testFlag(QStyle::State_HasFocus);
    if (hasFocus || option.state.testFlag(QStyle::State_MouseOver)) {
        painter.setPen(hasFocus ? QPen(theme.accent, 1.5) : QPen(Qt::NoPen));
        painter.setBrush(theme.card);
        painter.drawRoundedRect(QRectF(row).adjusted(1, 1, -1, -1), spacing::buttonRadius,
                                spacing::buttonRadius);
    }
    int const top = row.top() + above;
    QFont const normal = QApplication::font();
    QFont const small = Theme::smallFont();
    int const first = QFontMetrics(normal).height();
    Symbol::draw(painter, ActivityPresentation::symbol(entry),
                 QRectF(row.left() + sides, top + (first - Symbol::size) / 2.0, Symbol::size, Symbol::size),
                 theme.secondary);
    QString const time = model.timeOf(entry);
    int const timeWidth = QFontMetrics(small).horizontalAdvance(time);
    int const right = row.right() - sides - chevronPlace - timeWidth;
    drawElided(painter, QRect(right, top, timeWidth + 1, first), small, theme.secondary, time);
    int const left = row.left() + textLeft;
    drawElided(painter, QRect(left, top, right - left - spacing::small, first), normal,
               option.palette.windowText().color(), shownText(entry.summary, maxCharacters));
    drawElided(painter,
               QRect(left, top + first + lineGap, row.right() - sides - chevronPlace - left,
                     QFontMetrics(small).height()),
               small, theme.secondary, shownText(ActivityPresentation::subtitle(entry), maxCharacters));
    if (ActivityPresentation::hasDetail(entry))
        drawChevron(painter, row, isExpanded(entry), theme.secondary);
}

QSize ActivityRowDelegate::sizeHint(QStyleOptionViewItem const& option, QModelIndex const& index) const
{
    auto const& model = static_cast<ActivityListModel const&>(*index.model());
    ActivityEntry const* const entry = model.entryAt(index);
    if (!entry)
        return {0, QFontMetrics(Theme::smallFont()).height() + dayAbove};
    int height = entryHeight();
    if (isExpanded(*entry) && detail) {
        int const width = std::max(1, option.rect.width() - textLeft - sides);
        height += detail->layout()->hasHeightForWidth() ? detail->layout()->totalHeightForWidth(width)
                                                        : detail->sizeHint().height();
    }
    return {0, height};
}

QWidget* ActivityRowDelegate::createEditor(QWidget* parent,
                                           QStyleOptionViewItem const&,
                                           QModelIndex const& index) const
{
    auto const& model = static_cast<ActivityListModel const&>(*index.model());
    detail = new ActivityDetail(*model.entryAt(index), parent);
    return detail;
}

void ActivityRowDelegate::updateEditorGeometry(QWidget* editor,
                                               QStyleOptionViewItem const& option,
                                               QModelIndex const&) const
{
    editor->setGeometry(option.rect.adjusted(textLeft, entryHeight(), -sides, 0));
}

} // namespace zelvo
