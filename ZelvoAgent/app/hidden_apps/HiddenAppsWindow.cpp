#include "app/hidden_apps/HiddenAppsWindow.h"

#include "app/WrappedLabel.h"
#include "app/widgets/Button.h"
#include "app/widgets/Card.h"
#include "app/widgets/ElidedLabel.h"
#include "app/widgets/ScrollColumn.h"
#include "app/widgets/Spacing.h"
#include "app/widgets/TextLabel.h"
#include "base/Task.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QVBoxLayout>

#include <algorithm>

namespace zelvo {

namespace {

// Points.
constexpr QSize leastSize(420, 360);
constexpr QSize idealSize(480, 560);

constexpr std::size_t maxRows = 500;       // A list of thousands is edited in its file.
constexpr std::size_t maxNameLength = 200; // Characters.

} // namespace

HiddenAppsWindow::HiddenAppsWindow(AppServices const& services)
    : ContentWindow(worded("window.hiddenApps")), services(services)
{
    setMinimumSize(leastSize);
    resize(idealSize);
    read();
}

void HiddenAppsWindow::changeEvent(QEvent* event)
{
    ContentWindow::changeEvent(event);
    // Other applications may have started while the person was there.
    if (event->type() == QEvent::ActivationChange && isActiveWindow())
        read();
}

void HiddenAppsWindow::read()
{
    spawn(services.contexts.main, [this, weak = std::weak_ptr(alive)]() -> Task<> {
        if (weak.expired())
            co_return;
        HiddenAppsSnapshot next = co_await readHiddenApps(services);
        if (weak.expired() || next == shown)
            co_return;
        shown = std::move(next);
        if (isBuilt())
            rebuild();
    });
}

void HiddenAppsWindow::set(std::string identifier, bool hides)
{
    hideFromAgents(services, std::move(identifier), hides, [this, weak = std::weak_ptr(alive)] {
        if (!weak.expired())
            read();
    });
}

QWidget* HiddenAppsWindow::newContent()
{
    auto* const content = new QWidget;
    auto* const column = new QVBoxLayout(content);
    column->setContentsMargins(spacing::margin, spacing::margin, spacing::margin, spacing::margin);
    column->setSpacing(spacing::medium);
    column->addWidget(
        new TextLabel(worded("hidden.hint"), TextLabel::Size::normal, TextLabel::Tone::secondary, content));
    if (shown)
        addGroups(*column, *shown);
    column->addStretch();
    return new ScrollColumn(content, this);
}

void HiddenAppsWindow::addGroups(QVBoxLayout& column, HiddenAppsSnapshot const& all)
{
    addGroup(column, "hidden.hidden", all.hidden, true);
    if (all.hidden.empty())
        column.addWidget(new TextLabel(worded("hidden.none"), TextLabel::Size::normal,
                                       TextLabel::Tone::primary, column.parentWidget()));
    if (!all.suggested.empty())
        addGroup(column, "hidden.suggested", all.suggested, false);
    if (!all.running.empty())
        addGroup(column, "hidden.running", all.running, false);
}

void HiddenAppsWindow::addGroup(QVBoxLayout& column,
                                std::string_view title,
                                std::vector<NamedApplication> const& applications,
                                bool areHidden)
{
    QWidget* const content = column.parentWidget();
    column.addWidget(
        new TextLabel(worded(title), TextLabel::Size::heading, TextLabel::Tone::primary, content));
    if (applications.empty())
        return;
    auto* const card = new Card(content);
    for (std::size_t i = 0; i < std::min(applications.size(), maxRows); ++i) {
        NamedApplication const& application = applications[i];
        QString const name = shownText(application.name, maxNameLength);
        QString const identifier = shownText(application.identifier, maxNameLength);
        auto* const row = new QHBoxLayout;
        row->setSpacing(spacing::small);
        auto* const words = new QVBoxLayout;
        words->setSpacing(0);
        words->addWidget(new ElidedLabel(name, TextLabel::Size::normal, TextLabel::Tone::primary, card));
        if (identifier != name)
            words->addWidget(
                new ElidedLabel(identifier, TextLabel::Size::small, TextLabel::Tone::secondary, card));
        row->addLayout(words, 1);
        QString const label = worded(areHidden ? "diag.hidden.unhide" : "diag.hidden.hide");
        auto* const button = new Button(label, Button::Kind::link, card);
        button->setAccessibleName(label + ": " + name);
        button->onPressed([this, id = application.identifier, areHidden] { set(id, !areHidden); });
        row->addWidget(button, 0, Qt::AlignVCenter);
        card->column().addLayout(row);
    }
    if (applications.size() > maxRows)
        card->column().addWidget(
            new TextLabel(worded("queue.andMore", static_cast<long long>(applications.size() - maxRows)),
                          TextLabel::Size::small, TextLabel::Tone::secondary, card));
    column.addWidget(card);
}

} // namespace zelvo
