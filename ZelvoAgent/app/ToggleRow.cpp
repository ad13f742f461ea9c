#include "app/ToggleRow.h"

#include "app/SwitchButton.h"

#include <QMouseEvent>

#include <utility>

namespace zelvo {

ToggleRow::ToggleRow(QString const& name, QString const& note, QWidget* parent)
    : QWidget(parent), toggle(new SwitchButton(name, this))
{
    toggle->setAccessibleDescription(note);
}

void ToggleRow::mousePressEvent(QMouseEvent* event)
{
    isPressed = event->button() == Qt::LeftButton;
}

void ToggleRow::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && std::exchange(isPressed, false) &&
        rect().contains(event->position().toPoint()))
        toggle->click();
}

} // namespace zelvo
