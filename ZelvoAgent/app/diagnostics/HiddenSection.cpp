#include "app/diagnostics/HiddenSection.h"

#include "app/WrappedLabel.h"
#include "app/diagnostics/HiddenAppsEditor.h"
#include "app/widgets/Button.h"
#include "app/widgets/Card.h"
#include "app/widgets/ElidedLabel.h"
#include "app/widgets/Picker.h"
#include "app/widgets/Spacing.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

#include <algorithm>

namespace zelvo {

namespace {

constexpr std::size_t maxRows = 500;
constexpr std::size_t maxIdentifier = 200; // Characters.
constexpr int boxRadius = 8;               // Points.

} // namespace

HiddenSection::HiddenSection(HiddenAppsEditor& editor, RunningApps& apps, QWidget* parent)
    : DiagnosticsSection("diag.hidden.title", parent), editor(editor), apps(apps)
{
    addHint("diag.hidden.hint");
    addList();
    addChoice();
    following.emplace_back(apps.changed.connect([this] { showApps(); }));
    following.emplace_back(editor.changed.connect([this] { refresh(); }));
    showRows();
    showApps();
}

void HiddenSection::addList()
{
    empty = addText(worded("diag.hidden.empty"), TextLabel::Size::normal, TextLabel::Tone::primary);
    auto* const card = new Card(this, boxRadius);
    list = &card->column();
    list->setSpacing(spacing::tight);
    box = card;
    column().addWidget(box);
    check = addText(worded("diag.hidden.check"), TextLabel::Size::small, TextLabel::Tone::secondary);
    warning = addText(worded("diag.hidden.warning"), TextLabel::Size::normal, TextLabel::Tone::primary);
}

void HiddenSection::addChoice()
{
    addText(worded("diag.hidden.pick"), TextLabel::Size::small, TextLabel::Tone::secondary);
    picker = new Picker(worded("diag.hidden.pick"), this);
    picker->setPlaceholderText(worded("diag.hidden.choose"));
    picker->onChosen([this](int index) { editor.pick(apps.pidAt(index)); });
    hideButton = new Button(worded("diag.hidden.hide"), Button::Kind::secondary, this);
    hideButton->onPressed([this] { hidePicked(); });
    auto* const row = new QHBoxLayout;
    row->addWidget(picker, 1);
    row->addWidget(hideButton);
    column().addLayout(row);
}

void HiddenSection::refresh()
{
    if (shownIds != editor.bundleIds())
        showRows();
    picker->setCurrentIndex(apps.indexOf(editor.pickedToHide()));
    hideButton->setEnabled(editor.canHide());
}

void HiddenSection::showApps()
{
    picker->clear();
    for (RunningApp const& app : apps.all())
        picker->addItem(toQString(app.name));
    refresh();
}

void HiddenSection::showRows()
{
    std::size_t const focused = focusedRow();
    bool const hadFocus = focused < rows.size();
    std::string const focusedId = hadFocus ? rows[focused].bundleId : "";
    shownIds = editor.bundleIds();
    bool const isEmpty = shownIds.empty();
    empty->setVisible(isEmpty);
    for (QWidget* const part : {box, static_cast<QWidget*>(check), static_cast<QWidget*>(warning)})
        part->setVisible(!isEmpty);

    clearRows();
    for (std::size_t i = 0; i < std::min(shownIds.size(), maxRows); ++i)
        addRow(shownIds[i]);
    if (shownIds.size() > maxRows)
        list->addWidget(
            new TextLabel(worded("queue.andMore", static_cast<long long>(shownIds.size() - maxRows)),
                          TextLabel::Size::small, TextLabel::Tone::secondary, box));
    orderTabs();
    if (hadFocus)
        giveFocus(focusedId, focused);
}

void HiddenSection::clearRows()
{
    rows.clear();
    while (QLayoutItem* const item = list->takeAt(0)) {
        if (QWidget* const row = item->widget()) {
            row->hide();
            row->deleteLater(); // The call may come from its own button.
        }
        delete item;
    }
}

void HiddenSection::addRow(std::string const& bundleId)
{
    auto* const row = new QWidget(box);
    auto* const line = new QHBoxLayout(row);
    line->setContentsMargins(0, 0, 0, 0);
    QString const name = shownText(bundleId, maxIdentifier);
    line->addWidget(new ElidedLabel(name, TextLabel::Size::normal, TextLabel::Tone::primary, row), 1);
    auto* const button = new Button(worded("diag.hidden.unhide"), Button::Kind::link, row);
    button->setAccessibleName(worded("diag.hidden.unhide") + ": " + name);
    button->onPressed([this, bundleId] { editor.unhide(bundleId); });
    line->addWidget(button);
    list->addWidget(row);
    rows.push_back({bundleId, button});
}

// The toolkit puts new widgets behind all others of the window.
void HiddenSection::orderTabs()
{
    QWidget* before = picker->previousInFocusChain();
    while (before != picker && !(before->focusPolicy() & Qt::TabFocus))
        before = before->previousInFocusChain();
    for (Row const& row : rows) {
        setTabOrder(before, row.button);
        before = row.button;
    }
}

std::size_t HiddenSection::focusedRow() const
{
    QWidget const* const focused = window()->focusWidget();
    auto const found = std::ranges::find(rows, focused, &Row::button);
    return static_cast<std::size_t>(found - rows.begin());
}

void HiddenSection::giveFocus(std::string const& bundleId, std::size_t place)
{
    auto const same = std::ranges::find(rows, bundleId, &Row::bundleId);
    if (same != rows.end())
        same->button->setFocus();
    else if (!rows.empty())
        rows[std::min(place, rows.size() - 1)].button->setFocus();
    else
        picker->setFocus();
}

void HiddenSection::hidePicked()
{
    // The button is about to be disabled, which would send the keyboard focus out of this section.
    if (window()->focusWidget() == hideButton)
        picker->setFocus();
    editor.hidePicked();
}

} // namespace zelvo
