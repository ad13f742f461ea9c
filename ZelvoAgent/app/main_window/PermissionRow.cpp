#include "app/main_window/PermissionRow.h"

#include "app/Theme.h"
#include "app/widgets/Button.h"
#include "app/widgets/Spacing.h"
#include "app/widgets/Symbol.h"
#include "app/widgets/TextLabel.h"

#include <QHBoxLayout>

namespace zelvo {

PermissionRow::PermissionRow(QString const& title, std::function<void()> openSettings, QWidget* parent)
    : QWidget(parent), check(new SymbolView("checkmark", Theme(palette()).accent, this)),
      warning(new SymbolView("exclamationmark.circle", Theme(palette()).warning, this)),
      allowed(
          new TextLabel(worded("main.allowed"), TextLabel::Size::small, TextLabel::Tone::secondary, this)),
      help(new Button(worded("onboarding.openSettings"), Button::Kind::link, this))
{
    allowed->setWordWrap(false);
    help->setAccessibleName(worded("onboarding.openSettings") + ": " + title);
    help->onPressed(std::move(openSettings));
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(spacing::small);
    row->addWidget(new TextLabel(title, TextLabel::Size::normal, TextLabel::Tone::primary, this), 1);
    for (QWidget* const part : std::initializer_list<QWidget*>{check, allowed, warning, help})
        row->addWidget(part, 0, Qt::AlignVCenter);
}

void PermissionRow::setGranted(bool granted)
{
    check->setVisible(granted);
    allowed->setVisible(granted);
    warning->setVisible(!granted);
    help->setVisible(!granted);
}

} // namespace zelvo
