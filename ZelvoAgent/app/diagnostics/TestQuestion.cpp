#include "app/diagnostics/TestQuestion.h"

#include "base/LocalizedTexts.h"
#include "base/Task.h"

#include <QString>

#include <exception>
#include <string_view>
#include <utility>

namespace zelvo {

namespace {

constexpr std::int64_t timeoutMs = 180'000;
constexpr auto untilItIsShown = 150ms;

std::string_view keyOf(ConfirmationDecision decision)
{
    switch (decision.kind) {
    case ConfirmationDecision::Kind::allowed:
        return "diag.confirm.allowed";
    case ConfirmationDecision::Kind::denied:
        return "diag.confirm.denied";
    case ConfirmationDecision::Kind::timedOut:
        break;
    }
    return "diag.confirm.timedOut";
}

std::string number(double value)
{
    return QString::number(value, 'f', 1).toStdString();
}

} // namespace

TestQuestion::TestQuestion(AppServices const& services)
    : services(services), frameLater(services.contexts.main, services.platform.clock())
{
}

void TestQuestion::ask()
{
    confirmationHint.clear();
    setResult("diag.confirm.waiting");
    frameLater.in(untilItIsShown, [this] { showFrame(); });
    spawn(
        services.contexts.main,
        [this, weak = std::weak_ptr(alive), &presenter = services.parts.confirmations]() -> Task<> {
            ConfirmationSubject subject{ConfirmationSubject::SubmitButton{localized("diag.confirm.subject")}};
            std::string_view answer = "diag.confirm.timedOut"; // Also if the question could not be asked.
            std::exception_ptr failure;
            try {
                ConfirmationDecision const decision =
                    co_await presenter.ask(std::move(subject), localized("diag.confirm.platform"), timeoutMs);
                answer = keyOf(decision);
            } catch (...) {
                failure = std::current_exception();
            }
            if (!weak.expired())
                setResult(answer);
            if (failure)
                std::rethrow_exception(failure); // For the log.
        });
}

void TestQuestion::showFrame()
{
    std::optional<DesktopRect> const& frame = services.parts.confirmations.lastPanelFrame();
    if (!frame)
        return;
    confirmationHint = localized("diag.confirm.frame", {number(frame->x), number(frame->y),
                                                        number(frame->width), number(frame->height)});
    changed();
}

void TestQuestion::setResult(std::string_view key)
{
    confirmationResult = localized(key);
    changed();
}

} // namespace zelvo
