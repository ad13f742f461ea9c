#include "app/welcome/WelcomeWindow.h"

#include "app/OpenInBrowser.h"
#include "app/Theme.h"
#include "app/WindowIcon.h"
#include "app/WrappedLabel.h"
#include "app/welcome/StepBadge.h"
#include "app/welcome/WelcomePresenter.h"
#include "app/widgets/Button.h"
#include "app/widgets/Card.h"
#include "app/widgets/ProgressLine.h"
#include "app/widgets/Spacing.h"
#include "app/widgets/TextLabel.h"
#include "state/PermissionWording.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace zelvo {

namespace {

// Points.
constexpr int windowWidth = 560;
constexpr int iconSide = 48;

constexpr std::size_t maxNames = 400; // Characters.

int bitsOf(WelcomeSteps::Steps const& steps)
{
    int bits = 0;
    for (WelcomeSteps::Step const& step : steps)
        bits |= step.done ? 1 << step.id : 0;
    return bits;
}

} // namespace

WelcomeWindow::WelcomeWindow(AppServices const& services)
    : FittedWindow(worded("window.welcome")), services(services),
      permissions(
          services.platform.access(), services.contexts, services.platform.clock(), [this] { followSoon(); })
{
    following.emplace_back(services.parts.state.changed.connect([this] { followSoon(); }));
}

void WelcomeWindow::closeEvent(QCloseEvent* event)
{
    services.platform.defaults().setBoolean(WelcomePresenter::seenKey, true);
    FittedWindow::closeEvent(event);
}

WelcomeSteps::Steps WelcomeWindow::steps() const
{
    return WelcomeSteps::all(permissions.current(), !services.parts.state.connections().empty());
}

void WelcomeWindow::follow()
{
    if (isBuilt() && (bitsOf(steps()) != shownDone || permissions.causes() != shownCauses))
        rebuild();
}

QWidget* WelcomeWindow::newColumn()
{
    auto* const content = new QWidget;
    content->setFixedWidth(windowWidth);
    auto* const column = new QVBoxLayout(content);
    column->setContentsMargins(spacing::margin, spacing::margin, spacing::margin, spacing::margin);
    column->setSpacing(spacing::large);
    addHead(*column, content);
    addProgress(*column, content);
    auto* const card = new Card(content);
    card->column().setSpacing(spacing::large);
    shownDone = bitsOf(steps());
    for (WelcomeSteps::Step const& step : steps())
        card->column().addWidget(newRow(step, card));
    column->addWidget(card);
    addFoot(*column, content);
    return content;
}

void WelcomeWindow::addHead(QVBoxLayout& column, QWidget* content)
{
    bool const isDone = !WelcomeSteps::currentId(steps());
    auto* const head = new QHBoxLayout;
    head->setSpacing(spacing::large);
    auto* const icon = new QLabel(content);
    icon->setPixmap(zelvo::windowIcon().pixmap(QSize(iconSide, iconSide), devicePixelRatioF()));
    icon->setFixedSize(iconSide, iconSide);
    head->addWidget(icon, 0, Qt::AlignTop);
    auto* const words = new QVBoxLayout;
    words->setSpacing(spacing::tight);
    words->addWidget(new TextLabel(worded(isDone ? "welcome.done.title" : "welcome.title"),
                                   TextLabel::Size::title, TextLabel::Tone::primary, content));
    words->addWidget(new TextLabel(worded(isDone ? "welcome.done.subtitle" : "welcome.subtitle"),
                                   TextLabel::Size::normal, TextLabel::Tone::secondary, content));
    head->addLayout(words, 1);
    column.addLayout(head);
}

void WelcomeWindow::addProgress(QVBoxLayout& column, QWidget* content)
{
    WelcomeSteps::Steps const now = steps();
    int const done = WelcomeSteps::doneCount(now);
    auto* const row = new QHBoxLayout;
    row->setSpacing(spacing::medium);
    QString const text = worded("welcome.progress", done, static_cast<long long>(now.size()));
    auto* const line = new ProgressLine(text, content);
    line->setFraction(static_cast<double>(done) / static_cast<double>(now.size()));
    row->addWidget(line, 1, Qt::AlignVCenter);
    auto* const words = new TextLabel(text, TextLabel::Size::small, TextLabel::Tone::secondary, content);
    words->setWordWrap(false);
    row->addWidget(words);
    column.addLayout(row);
}

QWidget* WelcomeWindow::newRow(WelcomeSteps::Step const& step, QWidget* parent)
{
    bool const isCurrent = WelcomeSteps::currentId(steps()) == step.id;
    auto* const whole = new QWidget(parent);
    auto* const row = new QHBoxLayout(whole);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(spacing::medium);
    row->addWidget(new StepBadge(step.id, step.done, isCurrent, whole), 0, Qt::AlignTop);
    auto* const words = new QVBoxLayout;
    words->setSpacing(2);
    words->addWidget(
        new TextLabel(worded(step.title), TextLabel::Size::normal, TextLabel::Tone::primary, whole));
    words->addWidget(
        new TextLabel(worded(step.text), TextLabel::Size::small, TextLabel::Tone::secondary, whole));
    if (!step.done && step.hasSettings) {
        auto* const settings = new Button(worded("onboarding.openSettings"), Button::Kind::link, whole);
        settings->setAccessibleName(settings->label() + ": " + worded(step.title));
        settings->onPressed([this] { services.openWindow(AppWindow::permissionHelp); });
        words->addWidget(settings, 0, Qt::AlignLeading);
    }
    row->addLayout(words, 1);
    if (step.done) {
        auto* const done =
            new TextLabel(worded(step.doneTitle), TextLabel::Size::small, TextLabel::Tone::accent, whole);
        done->setWordWrap(false);
        row->addWidget(done, 0, Qt::AlignVCenter);
    } else {
        auto const kind = isCurrent ? Button::Kind::primary : Button::Kind::secondary;
        auto const cause = requestable(step.id);
        auto* const button =
            new Button(cause ? toQString(helpFor(*cause).action) : worded(step.actionTitle), kind, whole);
        button->setAccessibleName(button->label() + ": " + worded(step.title));
        button->onPressed([this, id = step.id] { act(id); });
        row->addWidget(button, 0, Qt::AlignVCenter);
    }
    return whole;
}

void WelcomeWindow::addFoot(QVBoxLayout& column, QWidget* content)
{
    shownCauses = permissions.causes();
    std::vector<std::string> const tooEarly = permissions.startedTooEarly();
    if (!tooEarly.empty()) {
        QString const names = shownText(joinedNames(tooEarly), maxNames);
        column.addWidget(new TextLabel(worded("onboarding.restartHint", names.toStdString()),
                                       TextLabel::Size::small, TextLabel::Tone::secondary, content));
    }
    bool const isDone = !WelcomeSteps::currentId(steps());
    auto* const end = new Button(worded(isDone ? "welcome.start" : "welcome.later"),
                                 isDone ? Button::Kind::primary : Button::Kind::secondary, content);
    end->onPressed([this] { close(); });
    auto* const row = new QHBoxLayout;
    row->addStretch();
    row->addWidget(end);
    column.addLayout(row);
}

/// What the person can have asked for with the button of a step.
std::optional<PermissionCause> WelcomeWindow::requestable(int id) const
{
    if (id == 3)
        return std::nullopt;
    PermissionCauses const& all = permissions.causes();
    for (PermissionCause const& cause : id == 1 ? all.screenRecording : all.accessibility)
        if (canBeRequested(cause.kind))
            return cause;
    return std::nullopt;
}

void WelcomeWindow::act(int id)
{
    if (id == 3)
        openConsole(services);
    else if (auto const cause = requestable(id))
        services.platform.access().request(cause->kind);
    else
        services.openWindow(AppWindow::permissionHelp);
}

} // namespace zelvo
