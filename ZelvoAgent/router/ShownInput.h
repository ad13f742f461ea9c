#pragma once

#include "base/Task.h"
#include "drivers/InputAction.h"
#include "drivers/InputDriving.h"
#include "router/AgentCursorPresenting.h"

namespace zelvo {

/// Posts input and lets the visible cursor show it: the cursor arrives before the event does. Thread: any.
class ShownInput {
public:
    ShownInput(Executor workers, InputDriving& input, AgentCursorPresenting& cursor)
        : workers(std::move(workers)), input(input), cursor(cursor)
    {
    }

    Task<> perform(InputAction::Move action);
    Task<> perform(InputAction::Click action, InputDriving::Before beforeNext = {});
    Task<> perform(InputAction::MouseDown action);
    Task<> perform(InputAction::MouseUp action);
    Task<> perform(InputAction::Drag action);
    /// A drag whose button stays down; false if it could not be made.
    Task<bool> begin(InputAction::Drag action);
    Task<> perform(InputAction::Scroll action);
    Task<> perform(InputAction::Type action);
    Task<> perform(InputAction::Type action, InputDriving::BeforePiece before);
    Task<> perform(InputAction::Key action);

private:
    Executor workers;
    InputDriving& input;
    AgentCursorPresenting& cursor;
};

} // namespace zelvo
