#pragma once

#include "app/AppServices.h"
#include "state/AgentStatus.h"

#include <QWidget>

namespace zelvo {

class Button;

/// The button for what the person is offered next; hidden while there is nothing. Thread: main.
class StatusButton final : public QWidget {
public:
    /// showsKey  whether the pause key's name is part of the button
    StatusButton(AppServices const& services, bool showsKey, QWidget* parent);

    void setStatus(AgentStatus const& status);

private:
    AppServices const& services;
    bool const showsKey;
    AgentStatus::Action action = AgentStatus::Action::none;
    Button* button;
};

} // namespace zelvo
