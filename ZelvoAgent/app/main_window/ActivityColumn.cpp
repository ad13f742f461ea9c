#include "app/main_window/ActivityColumn.h"

#include "app/main_window/ActivityList.h"
#include "app/widgets/Button.h"
#include "app/widgets/Spacing.h"
#include "app/widgets/TextLabel.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace zelvo {

ActivityColumn::ActivityColumn(
    AgentState const& state, Clock& clock, Executor main, Choice& choice, QWidget* parent)
    : QWidget(parent), state(state), clock(clock), choice(choice), pages(new QStackedWidget(this)),
      list(new ActivityList(pages)), nextMinute(std::move(main), clock)
{
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(spacing::small);
    column->addWidget(newHead());
    pages->addWidget(list);
    pages->addWidget(newEmptyView());
    column->addWidget(pages, 1);
    list->onExpanded = [this](std::string const& id) { this->choice.expanded = id; };
    refresh();
    list->setExpanded(choice.expanded);
}

QWidget* ActivityColumn::newHead()
{
    auto* const head = new QWidget(this);
    auto* const rows = new QVBoxLayout(head);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(spacing::small);
    rows->addWidget(
        new TextLabel(worded("main.activity"), TextLabel::Size::heading, TextLabel::Tone::primary, head));
    auto* const row = new QHBoxLayout;
    row->setSpacing(spacing::tight);
    rows->addLayout(row);
    auto* const group = new QButtonGroup(head); // One is always chosen.
    for (ActivityFilter const filter :
         {ActivityFilter::all, ActivityFilter::agents, ActivityFilter::terminal, ActivityFilter::mac}) {
        auto* const chip = new Button(toQString(title(filter)), Button::Kind::chip, head);
        group->addButton(chip);
        chip->setChecked(filter == choice.filter);
        chip->onPressed([this, filter] { choose(filter); });
        row->addWidget(chip);
        chips[filter] = chip;
    }
    row->addStretch();
    return head;
}

QWidget* ActivityColumn::newEmptyView()
{
    auto* const view = new QWidget(pages);
    auto* const column = new QVBoxLayout(view);
    column->setContentsMargins(spacing::small, spacing::large, spacing::small, 0);
    column->setSpacing(spacing::tight);
    column->addWidget(
        new TextLabel(worded("activity.empty"), TextLabel::Size::normal, TextLabel::Tone::primary, view));
    column->addWidget(
        new TextLabel(worded("main.empty.hint"), TextLabel::Size::small, TextLabel::Tone::secondary, view));
    column->addStretch();
    return view;
}

void ActivityColumn::choose(ActivityFilter filter)
{
    choice.filter = filter;
    refresh();
    list->setExpanded(choice.expanded);
    list->scrollToTop();
}

void ActivityColumn::refresh()
{
    list->setEntries(state.activity(), choice.filter, clock.date());
    pages->setCurrentIndex(list->rows().rowCount() == 0 ? 1 : 0);
    nextMinute.in(1min, [this] { refresh(); });
}

} // namespace zelvo
