#include "app/menu/StatusButton.h"

#include "app/menu/StatusActions.h"
#include "app/widgets/Button.h"
#include "app/widgets/TextLabel.h"

#include <QVBoxLayout>

namespace zelvo {

namespace {

std::string_view symbolOf(AgentStatus::Action action)
{
    if (action == AgentStatus::Action::pause)
        return "pause.fill";
    return action == AgentStatus::Action::resume ? "play.fill" : "";
}

} // namespace

StatusButton::StatusButton(AppServices const& services, bool showsKey, QWidget* parent)
    : QWidget(parent), services(services), showsKey(showsKey),
      button(new Button(QString(), Button::Kind::primary, this))
{
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(button);
    button->onPressed([this] { StatusActions::perform(action, this->services); });
}

void StatusButton::setStatus(AgentStatus const& status)
{
    std::optional<std::string> const label = status.actionTitle();
    setVisible(label.has_value());
    bool const isSame = action == status.action;
    action = status.action;
    if (!label || isSame)
        return;
    button->setLabel(toQString(*label));
    button->setSymbol(symbolOf(action));
    bool const namesKey = showsKey && status.showsPauseShortcut();
    button->setTrailingText(namesKey ? worded("main.pauseShortcut") : QString());
}

} // namespace zelvo
