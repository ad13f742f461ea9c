#include "ZelvoGateway/mcp/ToolFailure.h"

#include "base/Text.h"

#include <utility>

namespace zelvo::service {

namespace {

constexpr std::size_t maxWhat = 1'000;      // characters; large clients cut errors at 11,000
constexpr std::size_t maxWhatBytes = 3'000; // A character may be of any length.

/// A foreign message as the part of a line, without its full stop.
std::string sentenceOf(std::string_view message)
{
    std::string sentence =
        text::trimmed(text::shownInLine(text::prefixOfBytes(message, maxWhatBytes), maxWhat));
    while (sentence.ends_with('.'))
        sentence.pop_back();
    return sentence;
}

std::string doneText(std::size_t actions, bool isNextBegun)
{
    std::string text = "nothing";
    if (actions > 0)
        text = actions == 1 ? "action 0" : "actions 0-" + std::to_string(actions - 1);
    return isNextBegun ? text + "; action " + std::to_string(actions) + " was begun" : text;
}

} // namespace

std::string_view nextStep(ErrorCode code)
{
    switch (code) {
    case ErrorCode::deniedByUser:
        return "do not try again or another way; ask the user in the chat";
    case ErrorCode::confirmationTimeout:
        return "ask the user in the chat before you try again";
    case ErrorCode::appNotFrontmost:
        return "bring the application to the front with app_open";
    case ErrorCode::hiddenAppActive:
    case ErrorCode::zelvoUIProtected:
        return "leave it alone";
    case ErrorCode::machinePaused:
    case ErrorCode::agentPaused:
    case ErrorCode::machineUnavailable:
    case ErrorCode::machineOffline:
    case ErrorCode::appUpdateRequired:
        return "stop and tell the user";
    case ErrorCode::scopeDenied:
    case ErrorCode::permissionMissing:
    case ErrorCode::forbidden:
    case ErrorCode::unauthorized:
    case ErrorCode::recordingNotShared:
    case ErrorCode::recordingsUnavailable:
    case ErrorCode::linkSessionExpired:
    case ErrorCode::machineAlreadyLinkedToOtherUser:
        return "tell the user what is missing";
    case ErrorCode::machineBusy:
    case ErrorCode::leaseNotActive:
    case ErrorCode::rateLimited:
        return "try again later";
    case ErrorCode::snapshotExpired:
    case ErrorCode::staleView:
        return "look again with desktop_see";
    case ErrorCode::invalidRequest:
        return "correct the arguments and call again";
    case ErrorCode::notFound:
        return "check the name";
    case ErrorCode::timeout:
    case ErrorCode::internalError:
        return "the effect is unknown, so look first with desktop_see";
    }
    return "tell the user";
}

std::string failureLine(ToolFailure const& failure)
{
    std::string text(rawValue(failure.code));
    text += ": " + sentenceOf(failure.what) + ".";
    if (failure.actionsDone)
        text += " Done: " + doneText(*failure.actionsDone, failure.isBegun) + ".";
    text += " Next: " + failure.next.value_or(std::string(nextStep(failure.code))) + ".";
    return text;
}

std::string failureText(ToolFailure const& failure)
{
    std::string text = failureLine(failure);
    for (std::string const& line : failure.lines)
        text += "\n" + line;
    return text;
}

McpToolResult failureResult(ToolFailure const& failure)
{
    std::string text = failureText(failure);
    if (failure.holdsData)
        text += "\n" + std::string(dataLine);
    return {.content = {{.text = std::move(text)}}, .isError = true};
}

} // namespace zelvo::service
