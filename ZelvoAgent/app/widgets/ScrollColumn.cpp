#include "app/widgets/ScrollColumn.h"

#include "app/Theme.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOptionSlider>

namespace zelvo {

namespace {

constexpr int barWidth = 10; // Points.
constexpr int inset = 2;

} // namespace

ThinScrollBar::ThinScrollBar(QWidget* parent) : QScrollBar(Qt::Vertical, parent)
{
    setFocusPolicy(Qt::NoFocus);
}

QSize ThinScrollBar::sizeHint() const
{
    return {barWidth, 3 * barWidth};
}

void ThinScrollBar::paintEvent(QPaintEvent*)
{
    if (maximum() <= minimum())
        return;
    QStyleOptionSlider option;
    initStyleOption(&option);
    // Where the style lets it be dragged.
    QRectF const handle =
        style()->subControlRect(QStyle::CC_ScrollBar, &option, QStyle::SC_ScrollBarSlider, this);
    Theme const theme(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    QColor color = theme.secondary;
    color.setAlphaF(isSliderDown() || underMouse() ? 0.8F : 0.4F);
    painter.setBrush(color);
    double const radius = (barWidth - 2 * inset) / 2.0;
    painter.drawRoundedRect(QRectF(inset, handle.top(), barWidth - 2 * inset, handle.height()), radius,
                            radius);
}

ScrollColumn::ScrollColumn(QWidget* content, QWidget* parent) : QScrollArea(parent)
{
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBar(new ThinScrollBar(this));
    setFocusPolicy(Qt::NoFocus);
    setWidget(content);
    viewport()->setAutoFillBackground(false);
    content->setAutoFillBackground(false);
    content->setMinimumHeight(1); // Else the column keeps the height that it would need if it were narrower.
}

} // namespace zelvo
