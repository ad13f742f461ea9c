#include "desktop/windows/LayoutCheck.h"

#include "app/widgets/Button.h"
#include "app/widgets/ElidedLabel.h"
#include "app/widgets/Picker.h"
#include "app/widgets/TextLabel.h"

#include <QAbstractScrollArea>
#include <QFontMetrics>

namespace zelvo::test {

namespace {

constexpr int minElidedWidth = 24; // Points; less shows an ellipsis alone.

QString described(QWidget const& widget)
{
    QRect const place = widget.geometry();
    return QString("%1 \"%2\" (%3,%4 %5x%6)")
        .arg(widget.metaObject()->className(), widget.accessibleName().left(60))
        .arg(place.x())
        .arg(place.y())
        .arg(place.width())
        .arg(place.height());
}

bool isTooSmall(TextLabel const& label)
{
    if (label.shownText().isEmpty())
        return false;
    QFontMetrics const metrics(label.font());
    int const flags = label.wordWrap() ? Qt::TextWordWrap : Qt::TextSingleLine;
    QRect const room(0, 0, label.wordWrap() ? label.width() : 100'000, 100'000);
    QRect const needed = metrics.boundingRect(room, flags, label.text());
    return needed.height() > label.height() + 1 || needed.width() > label.width() + 1;
}

template <class Control>
bool isTooSmallControl(Control const& control)
{
    return control.heightForWidth(control.width()) > control.height() + 1 ||
           control.minimumSizeHint().width() > control.width() + 1;
}

bool cutsItsText(QWidget const& widget)
{
    if (auto const* const label = dynamic_cast<TextLabel const*>(&widget))
        return isTooSmall(*label);
    if (auto const* const button = dynamic_cast<Button const*>(&widget))
        return isTooSmallControl(*button);
    if (auto const* const picker = dynamic_cast<Picker const*>(&widget))
        return isTooSmallControl(*picker);
    if (auto const* const line = dynamic_cast<ElidedLabel const*>(&widget))
        return line->height() < line->fontMetrics().height() ||
               (line->isElided() && line->width() < minElidedWidth);
    return false;
}

bool isScrolled(QWidget const& widget)
{
    QWidget const* const parent = widget.parentWidget();
    auto const* const area = parent ? qobject_cast<QAbstractScrollArea*>(parent->parentWidget()) : nullptr;
    return area && area->viewport() == parent;
}

bool leavesItsParent(QWidget const& widget)
{
    QRect const room = widget.parentWidget()->rect();
    QRect const place = widget.geometry();
    bool const isTooWide = place.left() < room.left() || place.right() > room.right();
    bool const isTooHigh = place.top() < room.top() || place.bottom() > room.bottom();
    return isTooWide || (isTooHigh && !isScrolled(widget));
}

} // namespace

std::vector<std::string> layoutFaults(QWidget& window)
{
    std::vector<std::string> faults;
    auto const add = [&](QString const& what) { faults.push_back(what.toStdString()); };
    for (QWidget* const widget : window.findChildren<QWidget*>()) {
        if (!widget->isVisible() || widget->isWindow() ||
            qobject_cast<QAbstractScrollArea*>(widget->parentWidget()))
            continue;
        if (cutsItsText(*widget))
            add("cut: " + described(*widget));
        if (leavesItsParent(*widget))
            add("outside of its parent: " + described(*widget));
        for (QObject* const other : widget->parentWidget()->children()) {
            auto* const sibling = qobject_cast<QWidget*>(other);
            if (!sibling || sibling <= widget || !sibling->isVisible() || sibling->isWindow())
                continue;
            if (sibling->geometry().intersects(widget->geometry()))
                add("overlap: " + described(*widget) + " and " + described(*sibling));
        }
    }
    return faults;
}

} // namespace zelvo::test
