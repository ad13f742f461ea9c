#include "app/updates/UpdateWindow.h"

#include "app/Theme.h"
#include "app/WindowIcon.h"
#include "app/updates/UpdateNotes.h"
#include "app/widgets/Button.h"
#include "app/widgets/ProgressLine.h"
#include "app/widgets/Spacing.h"
#include "app/widgets/TextLabel.h"

#include <QAccessible>
#include <QHBoxLayout>
#include <QPointer>
#include <QVBoxLayout>

namespace zelvo {

namespace {

using Kind = UpdateStatus::Kind;

// Points.
constexpr int windowWidth = 480;
constexpr int iconSide = 48;

} // namespace

UpdateWindow::UpdateWindow(AppServices const& services)
    : FittedWindow(worded("window.updates")), services(services),
      following(services.updater.changed.connect([this] { followSoon(); }))
{
}

UpdateStatus UpdateWindow::status() const
{
    return UpdateStatus::of(services.updater.progress(), services.updater.lastAbort(),
                            services.parts.heartbeat.appVersion());
}

void UpdateWindow::follow()
{
    if (!isBuilt())
        return;
    UpdateStatus const now = status();
    if (now.isLike(shown))
        showAmount(now);
    else
        rebuild();
}

void UpdateWindow::showAmount(UpdateStatus const& status)
{
    if (!line)
        return;
    line->setFraction(status.fraction);
    amount->setShownText(toQString(status.amount));
}

QWidget* UpdateWindow::newColumn()
{
    shown = status();
    auto* const content = new QWidget;
    content->setFixedWidth(windowWidth);
    auto* const column = new QVBoxLayout(content);
    column->setContentsMargins(spacing::margin, spacing::margin, spacing::margin, spacing::margin);
    column->setSpacing(spacing::large);
    addHead(*column, content);
    addProgress(*column, content);
    addNotes(*column, content);
    addFoot(*column, content);
    return content;
}

void UpdateWindow::addHead(QVBoxLayout& column, QWidget* content)
{
    auto* const head = new QHBoxLayout;
    head->setSpacing(spacing::large);
    auto* const icon = new QLabel(content);
    icon->setPixmap(zelvo::windowIcon().pixmap(QSize(iconSide, iconSide), devicePixelRatioF()));
    icon->setFixedSize(iconSide, iconSide);
    head->addWidget(icon, 0, Qt::AlignTop);
    auto* const words = new QVBoxLayout;
    words->setSpacing(spacing::tight);
    auto* const title =
        new TextLabel(toQString(shown.title), TextLabel::Size::title, TextLabel::Tone::primary, content);
    words->addWidget(title);
    words->addWidget(
        new TextLabel(toQString(shown.detail), TextLabel::Size::normal, TextLabel::Tone::secondary, content));
    words->addStretch();
    head->addLayout(words, 1);
    column.addLayout(head);
    QAccessibleEvent said(title, QAccessible::NameChanged);
    QAccessible::updateAccessibility(&said);
}

void UpdateWindow::addProgress(QVBoxLayout& column, QWidget* content)
{
    line = nullptr;
    amount = nullptr;
    if (!shown.isBusy())
        return;
    line = new ProgressLine(toQString(shown.title), content);
    amount = new TextLabel(QString(), TextLabel::Size::small, TextLabel::Tone::secondary, content);
    amount->setWordWrap(false);
    auto* const group = new QVBoxLayout;
    group->setSpacing(spacing::small);
    group->addWidget(line);
    group->addWidget(amount);
    column.addLayout(group);
    showAmount(shown);
}

void UpdateWindow::addNotes(QVBoxLayout& column, QWidget* content)
{
    if (shown.notes.empty())
        return;
    auto* const group = new QVBoxLayout;
    group->setSpacing(spacing::small);
    group->addWidget(
        new TextLabel(worded("update.notes"), TextLabel::Size::heading, TextLabel::Tone::primary, content));
    group->addWidget(new UpdateNotes(toQString(shown.notes), windowWidth - 2 * spacing::margin, content));
    column.addLayout(group);
}

void UpdateWindow::addFoot(QVBoxLayout& column, QWidget* content)
{
    if (restart == Restart::failed && shown.kind == Kind::ready)
        column.addWidget(new TextLabel(worded("update.restartFailed"), TextLabel::Size::small,
                                       TextLabel::Tone::warning, content));
    // The button that closes has the same place and order in every state, so that a change of state puts no
    // other button under the pointer or the keyboard.
    bool const isReady = shown.kind == Kind::ready;
    auto* const end =
        new Button(worded(isReady ? "update.later" : "common.close"), Button::Kind::secondary, content);
    end->onPressed([this] { close(); });
    auto* const row = new QHBoxLayout;
    if (Button* const action = newAction(content)) {
        row->addWidget(action);
        QWidget::setTabOrder(action, end);
    }
    row->addStretch();
    row->addWidget(end);
    column.addLayout(row);
}

Button* UpdateWindow::newAction(QWidget* parent)
{
    if (shown.kind == Kind::ready)
        return newInstall(parent);
    if (shown.kind != Kind::failed && shown.kind != Kind::idle)
        return nullptr;
    auto const* const key = shown.kind == Kind::failed ? "update.again" : "main.checkUpdates";
    auto* const again = new Button(worded(key), Button::Kind::primary, parent);
    return again->onPressed([this] { services.updater.checkNow(); });
}

Button* UpdateWindow::newInstall(QWidget* parent)
{
    bool const isAsked = restart == Restart::asked;
    auto* const install =
        new Button(worded(isAsked ? "update.restarting" : "update.install"), Button::Kind::primary, parent);
    install->setEnabled(!isAsked);
    return install->onPressed([this] { askRestart(); });
}

void UpdateWindow::askRestart()
{
    setRestart(Restart::asked);
    services.restartIntoUpdate([window = QPointer<UpdateWindow>(this)] {
        if (window)
            window->setRestart(Restart::failed);
    });
}

void UpdateWindow::setRestart(Restart next)
{
    restart = next;
    rebuild();
}

} // namespace zelvo
