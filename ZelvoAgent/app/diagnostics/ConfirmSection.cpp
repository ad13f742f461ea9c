#include "app/diagnostics/ConfirmSection.h"

#include "app/widgets/Button.h"
#include "base/LocalizedTexts.h"
#include "base/Task.h"

#include <QVBoxLayout>

#include <string_view>

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

} // namespace

ConfirmSection::ConfirmSection(AppServices const& services, QWidget* parent)
    : DiagnosticsSection("diag.confirm.title", parent), services(services),
      frameLater(services.contexts.main, services.platform.clock())
{
    auto* const button = new Button(worded("diag.confirm.show"), Button::Kind::secondary, this);
    button->onPressed([this] { ask(); });
    column().addWidget(button, 0, Qt::AlignLeading);
    addHint("diag.confirm.hint");
    result = addText(QString(), TextLabel::Size::normal, TextLabel::Tone::primary);
    hint = addText(QString(), TextLabel::Size::small, TextLabel::Tone::secondary);
    result->hide();
    hint->hide();
}

void ConfirmSection::ask()
{
    result->setShownText(worded("diag.confirm.waiting"));
    result->show();
    hint->setShownText(QString());
    hint->hide();
    frameLater.in(untilItIsShown, [this] { showFrame(); });
    spawn(services.contexts.main,
          [this, weak = std::weak_ptr(alive), &presenter = services.parts.confirmations]() -> Task<> {
              ConfirmationSubject subject{
                  ConfirmationSubject::SubmitButton{localized("diag.confirm.subject")}};
              ConfirmationDecision const decision =
                  co_await presenter.ask(std::move(subject), localized("diag.confirm.platform"), timeoutMs);
              if (!weak.expired())
                  result->setShownText(worded(keyOf(decision)));
          });
}

void ConfirmSection::showFrame()
{
    std::optional<DesktopRect> const& frame = services.parts.confirmations.lastPanelFrame();
    if (!frame)
        return;
    auto const number = [](double value) { return QString::number(value, 'f', 1).toStdString(); };
    std::string const text = localized("diag.confirm.frame", {number(frame->x), number(frame->y),
                                                              number(frame->width), number(frame->height)});
    hint->setShownText(toQString(text));
    hint->show();
}

} // namespace zelvo
