#include "app/ScopeRow.h"

#include "app/SwitchButton.h"
#include "app/Theme.h"
#include "app/WrappedLabel.h"
#include "base/LocalizedTexts.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

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
    : ToggleRow(QString::fromStdString(title(scope)), noteOf(scope), parent)
{
    QString const name = toggle->accessibleName();
    QString const note = toggle->accessibleDescription();
    // A link without the right to see the screen is impossible, so that right cannot be refused alone.
    toggle->setEnabled(scope != AgentScope::screen);
    QObject::connect(toggle, &QCheckBox::clicked, this, std::move(onTurned));

    int const textWidth = width - gap - toggle->sizeHint().width();
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
    row->addWidget(toggle, 0, Qt::AlignVCenter);
}

void ScopeRow::setOn(bool on)
{
    toggle->setChecked(on);
}

bool ScopeRow::takeFocus()
{
    if (!toggle->isEnabled())
        return false;
    toggle->setFocus(Qt::TabFocusReason);
    return true;
}

bool ScopeRow::hasFocusWhileOff() const
{
    return toggle->hasFocus() && !toggle->isChecked();
}

} // namespace zelvo
