#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/mcp/tools/ActionRun.h"
#include "ZelvoGateway/mcp/tools/ComputerAction.h"
#include "ZelvoGateway/mcp/tools/ScreenPicture.h"
#include "ZelvoGateway/mcp/tools/Settling.h"
#include "ZelvoGateway/mcp/tools/ToolText.h"
#include "ZelvoGateway/mcp/tools/Tools.h"

#include <cmath>
#include <utility>

namespace zelvo::service {

namespace {

constexpr std::int64_t quietMs = 300;

std::vector<ComputerStep> stepsOf(json::object const& arguments, ComputerScreen const& screen)
{
    std::vector<ComputerStep> steps;
    if (json::array const* const list = read::array(arguments, "actions")) {
        for (json::value const& action : *list)
            if (json::object const* const object = action.if_object())
                steps.push_back(computerStep(*object, screen));
    } else {
        steps.push_back(computerStep(arguments, screen));
    }
    return steps;
}

/// Pictures of this tool always show the whole display, so its space is theirs.
Task<ComputerScreen> screenOf(MachineCallPtr call)
{
    ComputerScreen screen{.os = call->target().os};
    if (auto const display = co_await call->displaySize()) {
        call->seen().space = wholeDisplay(*display, call->pictures());
        screen.picture = call->seen().space.shownSize();
        screen.scale = call->seen().space.scale;
    }
    co_return screen;
}

/// Waits at the machine, or here if its agent cannot.
Task<> waitFor(MachineCallPtr call, std::int64_t ms)
{
    if (!call->seen().lacksSettle) {
        json::object params{{"quietMs", ms}, {"timeoutMs", ms}};
        try {
            co_await call->run("screen.settle", std::move(params));
            co_return;
        } catch (Failure const& failure) {
            if (failure.code == ErrorCode::invalidRequest)
                call->seen().lacksSettle = true;
            else if (failure.code != ErrorCode::internalError) // The system does not report what is drawn.
                throw;
        }
    }
    co_await call->clock().sleep(std::chrono::milliseconds(ms));
}

Task<std::string> cursorText(MachineCallPtr call)
{
    ScreenPoint const points = co_await call->cursor();
    SeenFrame const at =
        call->seen().space.toShown(SeenFrame{.x = std::llround(points.x), .y = std::llround(points.y)});
    co_return "X=" + std::to_string(at.x) + ",Y=" + std::to_string(at.y);
}

/// Returns what there is to say about it.
Task<std::string> perform(MachineCallPtr call, ComputerStep step)
{
    if (step.asksForCursor)
        co_return co_await cursorText(call);
    if (step.waitMs > 0)
        co_await waitFor(call, step.waitMs);
    if (step.url) {
        json::object params{{"url", *step.url}};
        co_await call->run("urls.open", std::move(params));
    }
    ActionRun run(call, std::move(step.actions), "");
    co_await run.run();
    co_return "";
}

/// What was done, up to the first failure.
struct Performed {
    std::string text;
    std::optional<ToolFailure> failure;
    bool hasActed = false;
};

Task<Performed> performAll(MachineCallPtr call, std::vector<ComputerStep> steps)
{
    Performed performed;
    std::size_t done = 0;
    for (; done < steps.size() && !performed.failure; ++done) {
        ComputerStep& step = steps[done];
        performed.hasActed = performed.hasActed || !step.actions.empty() || step.url;
        try {
            std::string const said = co_await perform(call, std::move(step));
            if (!said.empty())
                performed.text += " · " + said;
        } catch (ToolFailure const& failure) {
            performed.failure = failure;
        } catch (Failure const& failure) {
            performed.failure = toolFailure(failure);
        }
        if (performed.failure) {
            bool const isPartOfStep = performed.failure->actionsDone.value_or(0) > 0;
            performed.failure->isBegun = performed.failure->isBegun || isPartOfStep;
            performed.failure->actionsDone = done;
        }
    }
    std::string const count = std::to_string(steps.size());
    performed.text.insert(0, "ok " + count + "/" + count);
    co_return performed;
}

/// The whole display, or the part that the last action asked for.
Task<ScreenPicture> pictureAfter(MachineCallPtr call, std::optional<SeenFrame> zoom)
{
    ScreenSpace const whole = call->seen().space;
    if (zoom)
        co_return co_await takePicture(call, whole.toPoints(*zoom));
    ScreenPicture picture = co_await takePicture(call, std::nullopt);
    call->seen().space = picture.space;
    co_return picture;
}

} // namespace

Task<McpToolResult> computer(MachineCallPtr call, json::object arguments)
{
    ComputerScreen const screen = co_await screenOf(call);
    std::vector<ComputerStep> steps = stepsOf(arguments, screen);
    auto const zoom = steps.empty() ? std::nullopt : steps.back().zoom;
    Performed performed = co_await performAll(call, std::move(steps));
    bool const failed = performed.failure.has_value();

    tooltext::Answer answer(failed ? tooltext::maxFailureCost : tooltext::maxCost);
    answer.holdsData();
    answer.first(failed ? failureLine(*performed.failure) : performed.text);
    if (failed)
        answer.add(performed.failure->lines);
    McpToolResult result{.content = {{}}, .isError = failed};
    std::optional<ToolFailure> blind;
    try {
        if (performed.hasActed)
            answer.add(settlingText(co_await settle(call, quietMs)));
        ScreenPicture picture = co_await pictureAfter(call, failed ? std::nullopt : zoom);
        answer.add("Picture of " + sizeText(picture.pixels) + " pixels: " +
                   (picture.isPart ? "only the region. Coordinates stay those of the whole screen."
                                   : "the main display."));
        result.content.push_back(std::move(picture.content));
    } catch (ToolFailure const& failure) {
        blind = failure;
    } catch (Failure const& failure) {
        blind = toolFailure(failure);
    }
    if (blind)
        answer.add("What it looks like now cannot be shown: " + failureText(*blind));
    result.content.front().text = answer.text();
    co_return result;
}

} // namespace zelvo::service
