#include "app/diagnostics/HiddenSection.h"

#include "app/WrappedLabel.h"
#include "app/hidden_apps/HiddenAppsList.h"
#include "app/widgets/Button.h"
#include "app/widgets/Card.h"
#include "app/widgets/ElidedLabel.h"
#include "app/widgets/Picker.h"
#include "app/widgets/Spacing.h"
#include "base/Task.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

#include <algorithm>

namespace zelvo {

namespace {

constexpr std::size_t maxRows = 500;
constexpr std::size_t maxIdentifier = 200; // Characters.

} // namespace

HiddenSection::HiddenSection(AppServices const& services, QWidget* parent)
    : DiagnosticsSection("diag.hidden.title", parent), services(services)
{
    addHint("diag.hidden.hint");
    empty = addText(worded("diag.hidden.empty"), TextLabel::Size::normal, TextLabel::Tone::primary);
    auto* const frame = new Card(this);
    list = &frame->column();
    list->setSpacing(spacing::tight);
    box = frame;
    column().addWidget(box);
    check = addText(worded("diag.hidden.check"), TextLabel::Size::small, TextLabel::Tone::secondary);
    warning = addText(worded("diag.hidden.warning"), TextLabel::Size::normal, TextLabel::Tone::primary);
    addText(worded("diag.hidden.pick"), TextLabel::Size::small, TextLabel::Tone::secondary);
    auto* const row = new QHBoxLayout;
    picker = new Picker(worded("diag.hidden.pick"), this);
    picker->setPlaceholderText(worded("diag.hidden.choose"));
    hideButton = new Button(worded("diag.hidden.hide"), Button::Kind::secondary, this);
    hideButton->onPressed([this] { hideSelected(); });
    QObject::connect(picker, &QComboBox::currentIndexChanged, this,
                     [this](int index) { hideButton->setEnabled(index >= 0); });
    row->addWidget(picker, 1);
    row->addWidget(hideButton);
    column().addLayout(row);
    show({});
    setApps({});
    refreshHidden();
}

void HiddenSection::setApps(std::vector<RunningApp> next)
{
    std::erase_if(next, [](RunningApp const& app) { return !app.bundleId; });
    apps = std::move(next);
    picker->clear();
    for (RunningApp const& app : apps)
        picker->addItem(toQString(app.name));
    picker->setCurrentIndex(-1);
    hideButton->setEnabled(false);
}

void HiddenSection::refreshHidden()
{
    spawn(services.contexts.main,
          [this, weak = std::weak_ptr(alive), &store = services.parts.hiddenApps]() -> Task<> {
              std::set<std::string> const hidden = co_await store.bundleIds();
              if (!weak.expired())
                  show({hidden.begin(), hidden.end()});
          });
}

void HiddenSection::show(std::vector<std::string> const& bundleIds)
{
    while (QLayoutItem* const item = list->takeAt(0)) {
        if (QWidget* const row = item->widget()) {
            row->hide();
            row->deleteLater();
        }
        delete item;
    }
    for (std::size_t i = 0; i < std::min(bundleIds.size(), maxRows); ++i) {
        auto* const row = new QWidget(box);
        auto* const line = new QHBoxLayout(row);
        line->setContentsMargins(0, 0, 0, 0);
        QString const name = shownText(bundleIds[i], maxIdentifier);
        line->addWidget(new ElidedLabel(name, TextLabel::Size::normal, TextLabel::Tone::primary, row), 1);
        auto* const button = new Button(worded("diag.hidden.unhide"), Button::Kind::link, row);
        button->setAccessibleName(worded("diag.hidden.unhide") + ": " + name);
        button->onPressed([this, id = bundleIds[i]] { set(id, false); });
        line->addWidget(button);
        list->addWidget(row);
    }
    bool const isEmpty = bundleIds.empty();
    empty->setVisible(isEmpty);
    for (QWidget* const part : {box, static_cast<QWidget*>(check), static_cast<QWidget*>(warning)})
        part->setVisible(!isEmpty);
}

void HiddenSection::hideSelected()
{
    int const index = picker->currentIndex();
    if (index < 0)
        return;
    set(*apps[static_cast<std::size_t>(index)].bundleId, true);
    picker->setCurrentIndex(-1);
}

void HiddenSection::set(std::string bundleId, bool hides)
{
    hideFromAgents(services, std::move(bundleId), hides, [this, weak = std::weak_ptr(alive)] {
        if (!weak.expired())
            refreshHidden();
    });
}

} // namespace zelvo
