#include "app/widgets/PlaceInView.h"

#include <QAbstractScrollArea>
#include <QScrollBar>
#include <QWidget>

#include <algorithm>

namespace zelvo {

namespace {

std::vector<QWidget*> controlsOf(QWidget const& view)
{
    std::vector<QWidget*> controls;
    for (QWidget* const each : view.findChildren<QWidget*>())
        if (each->focusPolicy() & Qt::TabFocus && each->isVisibleTo(&view))
            controls.push_back(each);
    return controls;
}

std::vector<QScrollBar*> scrollBarsOf(QWidget const& view)
{
    std::vector<QScrollBar*> bars;
    if (auto const* const area = dynamic_cast<QAbstractScrollArea const*>(&view))
        bars.push_back(area->verticalScrollBar());
    for (QAbstractScrollArea const* const area : view.findChildren<QAbstractScrollArea*>())
        bars.push_back(area->verticalScrollBar());
    return bars;
}

} // namespace

PlaceInView::PlaceInView(QWidget const& view)
{
    std::vector<QWidget*> const controls = controlsOf(view);
    auto const found = std::ranges::find(controls, view.window()->focusWidget());
    if (found != controls.end()) {
        focused = (*found)->accessibleName();
        order = static_cast<int>(found - controls.begin());
    }
    for (QScrollBar const* const bar : scrollBarsOf(view))
        scrolled.push_back(bar->value());
}

void PlaceInView::restoreIn(QWidget& view) const
{
    std::vector<QWidget*> const controls = controlsOf(view);
    if (order >= 0 && !controls.empty()) {
        auto const same = std::ranges::find(controls, focused, &QWidget::accessibleName);
        auto const last = static_cast<int>(controls.size()) - 1;
        QWidget* const next = same != controls.end() ? *same : controls[std::min(order, last)];
        next->setFocus();
    }
    auto const scroll = [&view, values = scrolled] {
        std::vector<QScrollBar*> const bars = scrollBarsOf(view);
        for (std::size_t i = 0; i < std::min(values.size(), bars.size()); ++i)
            bars[i]->setValue(values[i]);
    };
    // The view gets its layout with the next events, and its scrolled parts theirs with those after them.
    auto const afterLayout = [&view, scroll] {
        QMetaObject::invokeMethod(&view, scroll, Qt::QueuedConnection);
    };
    QMetaObject::invokeMethod(&view, afterLayout, Qt::QueuedConnection);
}

} // namespace zelvo
