#include "app/permissions/PermissionHelpWindow.h"

#include "app/Theme.h"
#include "app/widgets/Button.h"
#include "app/widgets/Card.h"
#include "app/widgets/Spacing.h"
#include "app/widgets/Symbol.h"
#include "app/widgets/TextLabel.h"
#include "state/PermissionWording.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace zelvo {

namespace {

constexpr int windowWidth = 480; // Points.

} // namespace

PermissionHelpWindow::PermissionHelpWindow(AppServices const& services)
    : FittedWindow(worded("window.permissionHelp")), access(services.platform.access()),
      permissions(
          services.platform.access(), services.contexts, services.platform.clock(), [this] { rebuildSoon(); })
{
}

QWidget* PermissionHelpWindow::newColumn()
{
    auto* const content = new QWidget;
    content->setFixedWidth(windowWidth);
    auto* const column = new QVBoxLayout(content);
    column->setContentsMargins(spacing::margin, spacing::margin, spacing::margin, spacing::margin);
    column->setSpacing(spacing::large);
    Permissions const now = permissions.current();
    PermissionCauses const& causes = permissions.causes();
    addPermission(*column, content, "permission.screenRecording", now.screenRecording,
                  causes.screenRecording);
    addPermission(*column, content, "permission.accessibility", now.accessibility, causes.accessibility);
    addLacks(*column, content, causes.lacks);
    auto* const again = new Button(worded("common.refresh"), Button::Kind::secondary, content);
    again->onPressed([this] { permissions.look(); });
    auto* const end = new Button(worded("common.close"), Button::Kind::primary, content);
    end->onPressed([this] { close(); });
    auto* const row = new QHBoxLayout;
    row->addWidget(again);
    row->addStretch();
    row->addWidget(end);
    column->addLayout(row);
    return content;
}

void PermissionHelpWindow::addPermission(QVBoxLayout& column,
                                         QWidget* content,
                                         std::string_view title,
                                         bool granted,
                                         std::vector<PermissionCause> const& causes)
{
    Theme const theme(palette());
    auto* const card = new Card(content);
    auto* const head = new QHBoxLayout;
    head->setSpacing(spacing::small);
    head->addWidget(new TextLabel(worded(title), TextLabel::Size::heading, TextLabel::Tone::primary, card),
                    1);
    head->addWidget(new SymbolView(granted ? "checkmark" : "exclamationmark.circle",
                                   granted ? theme.accent : theme.warning, card));
    auto* const state = new TextLabel(worded(granted ? "main.allowed" : "permission.missing"),
                                      TextLabel::Size::small, TextLabel::Tone::secondary, card);
    state->setWordWrap(false);
    head->addWidget(state);
    card->column().addLayout(head);
    addCauses(*card, causes);
    column.addWidget(card);
}

void PermissionHelpWindow::addLacks(QVBoxLayout& column,
                                    QWidget* content,
                                    std::vector<PermissionCause> const& lacks)
{
    if (lacks.empty())
        return;
    auto* const card = new Card(content);
    card->column().addWidget(
        new TextLabel(worded("permission.lacks"), TextLabel::Size::heading, TextLabel::Tone::primary, card));
    addCauses(*card, lacks);
    column.addWidget(card);
}

void PermissionHelpWindow::addCauses(Card& card, std::vector<PermissionCause> const& causes)
{
    for (PermissionCause const& cause : causes) {
        PermissionHelp const help = helpFor(cause);
        card.column().addWidget(
            new TextLabel(toQString(help.cause), TextLabel::Size::normal, TextLabel::Tone::primary, &card));
        card.column().addWidget(
            new TextLabel(toQString(help.cure), TextLabel::Size::small, TextLabel::Tone::secondary, &card));
        if (help.action.empty())
            continue;
        auto* const button = new Button(toQString(help.action), Button::Kind::secondary, &card);
        button->setAccessibleName(button->label() + ": " + toQString(help.cause));
        button->onPressed([this, kind = cause.kind] { access.request(kind); });
        card.column().addWidget(button, 0, Qt::AlignLeading);
    }
}

} // namespace zelvo
