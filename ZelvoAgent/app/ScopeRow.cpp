#include "app/ScopeRow.h"

#include "app/SwitchButton.h"
#include "app/Theme.h"
#include "app/WrappedLabel.h"
#include "base/LocalizedTexts.h"

#include <QHBoxLayout>
#include <QMouseEvent>
#include <QVBoxLayout>

#include <utility>

namespace zelvo {

namespace {

constexpr int gap = 12;

QString noteOf(AgentScope scope)
{
    switch (scope) {
    case AgentScope::files:
        return QString::fromStdString(localized("consent.filesNote"));
    case AgentScope::shell:
        return QString::fromStdString(localized("consent.shellWarning"));
    default:
        return {};
    }
}

} // namespace

ScopeRow::ScopeRow(AgentScope scope, int width, std::function<void(bool)> onTurned, QWidget* parent)
    : QWidget(parent)
{
    QString const name = QString::fromStdString(title(scope));
    QString const note = noteOf(scope);
    button = new SwitchButton(name, this);
    button->setAccessibleDescription(note);
    // A link without the right to see the screen is impossible, so that right cannot be refused alone.
    button->setEnabled(scope != AgentScope::screen);
    QObject::connect(button, &QCheckBox::clicked, this, std::move(onTurned));

    int const textWidth = width - gap - button->sizeHint().width();
    auto* const words = new QVBoxLayout;
    words->setSpacing(2);
    words->addWidget(new WrappedLabel(name, font(), textWidth, this));
    if (!note.isEmpty()) {
        Theme const theme(palette());
        auto* const label = new WrappedLabel(note, Theme::smallFont(), textWidth, this);
        label->setColor(scope == AgentScope::shell ? theme.warning : theme.secondary);
        words->addWidget(label);
    }

    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(gap);
    row->addLayout(words);
    row->addWidget(button, 0, Qt::AlignVCenter);
}

void ScopeRow::setOn(bool on)
{
    button->setChecked(on);
}

bool ScopeRow::takeFocus()
{
    if (!button->isEnabled())
        return false;
    button->setFocus(Qt::TabFocusReason);
    return true;
}

bool ScopeRow::hasFocusWhileOff() const
{
    return button->hasFocus() && !button->isChecked();
}

void ScopeRow::mousePressEvent(QMouseEvent* event)
{
    isPressed = event->button() == Qt::LeftButton;
}

void ScopeRow::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && std::exchange(isPressed, false) &&
        rect().contains(event->position().toPoint()))
        button->click();
}

} // namespace zelvo
