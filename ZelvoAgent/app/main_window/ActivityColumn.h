#pragma once

#include "base/DelayedCall.h"
#include "state/ActivityFilter.h"
#include "state/AgentState.h"

#include <QWidget>

#include <functional>
#include <map>
#include <string>

class QStackedWidget;

namespace zelvo {

class ActivityList;
class Button;

/// The history of what agents did: filters, days, and rows that expand. Thread: main.
class ActivityColumn final : public QWidget {
public:
    /// What the person chose here; it survives a new build of the window.
    struct Choice {
        ActivityFilter filter = ActivityFilter::all;
        std::string expanded; ///< an entry's id; empty for none
    };

    ActivityColumn(AgentState const& state, Clock& clock, Executor main, Choice& choice, QWidget* parent);

    void refresh();

private:
    QWidget* newHead();
    QWidget* newEmptyView();
    void choose(ActivityFilter filter);

    AgentState const& state;
    Clock& clock;
    Choice& choice;
    std::map<ActivityFilter, Button*> chips;
    QStackedWidget* pages;
    ActivityList* list;
    DelayedCall nextMinute; // Days change at midnight, and with the time zone.
};

} // namespace zelvo
