#include "app/menu/LiveAgentsSection.h"

#include "app/WrappedLabel.h"
#include "app/widgets/Button.h"
#include "app/widgets/ElidedLabel.h"
#include "app/widgets/Spacing.h"
#include "app/widgets/TextLabel.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace zelvo {

namespace {

// Characters.
constexpr std::size_t maxAgentName = 200;
constexpr std::size_t maxTask = 200;
constexpr std::size_t maxPlatformName = 80;

} // namespace

LiveAgentsSection::LiveAgentsSection(Services services, QWidget* parent)
    : QWidget(parent), services(std::move(services)), column(new QVBoxLayout(this))
{
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(spacing::small);
    column->addWidget(
        new TextLabel(worded("agents.title"), TextLabel::Size::heading, TextLabel::Tone::primary, this));
    hide();
}

void LiveAgentsSection::setAgents(ComputerAgents const& agents)
{
    Content next = contentOf(agents);
    if (shown == next)
        return;
    shown = std::move(next);
    // The pressed button's row comes back with the next state; the keyboard stays on the same agent.
    QWidget const* const focus = rows ? rows->focusWidget() : nullptr;
    QString const focused = focus && focus->hasFocus() ? focus->objectName() : QString();
    if (rows) {
        rows->hide();
        rows->deleteLater();
    }
    rows = new QWidget(this);
    auto* const list = new QVBoxLayout(rows);
    list->setContentsMargins(0, 0, 0, 0);
    list->setSpacing(spacing::small);
    if (agents.holder)
        addRow(*agents.holder, worded("agents.working"), false);
    for (std::size_t i = 0; i < agents.waiting.size(); ++i)
        addRow(agents.waiting[i], worded("agents.waiting", static_cast<long long>(i) + 1), false);
    for (ComputerAgent const& agent : agents.paused)
        addRow(agent, worded("agents.paused"), true);
    column->addWidget(rows);
    rows->show();
    setVisible(!agents.isEmpty());
    if (auto* const button = focused.isEmpty() ? nullptr : rows->findChild<QWidget*>(focused))
        button->setFocus();
}

LiveAgentsSection::Content LiveAgentsSection::contentOf(ComputerAgents const& agents) const
{
    Content content{.agents = agents};
    auto const look = [&](ComputerAgent const& agent) {
        content.platforms.push_back(services.platformName(agent.connectionId));
    };
    if (agents.holder)
        look(*agents.holder);
    std::ranges::for_each(agents.waiting, look);
    std::ranges::for_each(agents.paused, look);
    return content;
}

void LiveAgentsSection::addRow(ComputerAgent const& agent, QString const& status, bool isPaused)
{
    auto* const row = new QWidget(rows);
    auto* const line = new QHBoxLayout(row);
    line->setContentsMargins(0, 0, 0, 0);
    line->setSpacing(spacing::small);
    auto* const words = new QVBoxLayout;
    words->setSpacing(0);
    QString const name = shownText(agent.name, maxAgentName);
    words->addWidget(new ElidedLabel(name, TextLabel::Size::normal, TextLabel::Tone::primary, row));
    words->addWidget(
        new ElidedLabel(lineOf(agent, status), TextLabel::Size::small, TextLabel::Tone::secondary, row));
    line->addLayout(words, 1);
    QString const label = isPaused ? worded("agents.resume") : worded("agents.pause");
    auto* const button = new Button(label, Button::Kind::secondary, row);
    button->setObjectName(toQString(agent.ref));
    button->setAccessibleName(label + ": " + name);
    button->onPressed([this, ref = agent.ref, isPaused] { services.setPaused(ref, !isPaused); });
    line->addWidget(button, 0, Qt::AlignVCenter);
    rows->layout()->addWidget(row);
}

QString LiveAgentsSection::lineOf(ComputerAgent const& agent, QString const& status) const
{
    QStringList parts{status};
    if (agent.task && !agent.task->empty())
        parts.append(shownText(*agent.task, maxTask));
    if (auto const platform = services.platformName(agent.connectionId))
        parts.append(shownText(*platform, maxPlatformName));
    return parts.join(worded("list.separator"));
}

} // namespace zelvo
