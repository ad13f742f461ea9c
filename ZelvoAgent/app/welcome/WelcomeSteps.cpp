#include "app/welcome/WelcomeSteps.h"

#include <algorithm>

namespace zelvo::WelcomeSteps {

Steps all(Permissions const& permissions, bool hasConnection)
{
    return {Step{.id = 1,
                 .title = "welcome.screen.title",
                 .text = "welcome.screen.text",
                 .done = permissions.screenRecording,
                 .doneTitle = "main.allowed",
                 .actionTitle = "welcome.allow",
                 .hasSettings = true},
            Step{.id = 2,
                 .title = "welcome.access.title",
                 .text = "welcome.access.text",
                 .done = permissions.accessibility,
                 .doneTitle = "main.allowed",
                 .actionTitle = "welcome.allow",
                 .hasSettings = true},
            Step{.id = 3,
                 .title = "welcome.link.title",
                 .text = "welcome.link.text",
                 .done = hasConnection,
                 .doneTitle = "welcome.connected",
                 .actionTitle = "welcome.connect"}};
}

int doneCount(Steps const& steps)
{
    return static_cast<int>(std::ranges::count_if(steps, &Step::done));
}

std::optional<int> currentId(Steps const& steps)
{
    for (Step const& step : steps)
        if (!step.done)
            return step.id;
    return std::nullopt;
}

} // namespace zelvo::WelcomeSteps
