#include "app/widgets/FittedWindow.h"

#include "app/widgets/ScrollColumn.h"

#include <QLayout>
#include <QScreen>
#include <QScrollBar>

#include <algorithm>

namespace zelvo {

namespace {

constexpr int titleBar = 40; // Points that a window manager's frame may take.
constexpr int step = 4;      // Points that are whole pixels at 1.25 and 1.5 x too, so that nothing is cut.

} // namespace

QWidget* FittedWindow::newContent()
{
    QWidget* const column = newColumn();
    int const width = column->minimumWidth();
    int const height = (column->layout()->totalHeightForWidth(width) + step - 1) / step * step;
    QSize const room = screen()->availableGeometry().size();
    int const highest = room.height() - titleBar;
    auto* const scrolled = new ScrollColumn(column, this);
    int const bar = height > highest ? scrolled->verticalScrollBar()->sizeHint().width() : 0;
    setFixedSize(std::min(width + bar, room.width()), std::min(height, highest));
    return scrolled;
}

} // namespace zelvo
