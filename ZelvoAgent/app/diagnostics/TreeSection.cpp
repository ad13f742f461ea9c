#include "app/diagnostics/TreeSection.h"

#include "app/Theme.h"
#include "app/diagnostics/RunningApps.h"
#include "app/diagnostics/TreeCheck.h"
#include "app/widgets/Button.h"
#include "app/widgets/Picker.h"
#include "app/widgets/Spacing.h"
#include "app/widgets/SwitchRow.h"

#include <QHBoxLayout>
#include <QPlainTextEdit>
#include <QVBoxLayout>

namespace zelvo {

namespace {

constexpr int reportHeight = 220; // Points.

} // namespace

TreeSection::TreeSection(TreeCheck& check, RunningApps& apps, QWidget* parent)
    : DiagnosticsSection("diag.tree.title", parent), check(check), apps(apps)
{
    addChoice();
    addButtons();
    addHint("diag.tree.hint");
    addReport();
    following.emplace_back(apps.changed.connect([this] { showApps(); }));
    following.emplace_back(check.changed.connect([this] { refresh(); }));
    showApps();
    refresh();
}

void TreeSection::addChoice()
{
    addText(worded("diag.tree.app"), TextLabel::Size::small, TextLabel::Tone::secondary);
    picker = new Picker(worded("diag.tree.app"), this);
    picker->onChosen([this](int index) { check.select(apps.pidAt(index - 1)); });
    auto* const again = new Button(worded("diag.tree.refreshApps"), Button::Kind::link, this);
    again->onPressed([this] { apps.refresh(); });
    auto* const choice = new QHBoxLayout;
    choice->addWidget(picker, 1);
    choice->addWidget(again);
    column().addLayout(choice);
    interactiveOnly = new SwitchRow(worded("diag.tree.interactiveOnly"), QString(), this);
    interactiveOnly->setOn(check.isInteractiveOnly());
    interactiveOnly->onTurned([this](bool on) { check.setInteractiveOnly(on); });
    column().addWidget(interactiveOnly);
}

void TreeSection::addButtons()
{
    captureNow = new Button(worded("diag.tree.captureNow"), Button::Kind::secondary, this);
    captureNow->onPressed([this] { check.snapshotNow(); });
    auto* const captureIn5 = new Button(worded("diag.tree.captureIn5"), Button::Kind::secondary, this);
    captureIn5->onPressed([this] { check.snapshotAfter(5); });
    auto* const buttons = new QHBoxLayout;
    buttons->addWidget(captureNow, 1);
    buttons->addWidget(captureIn5, 1);
    column().addLayout(buttons);
}

void TreeSection::addReport()
{
    report = new QPlainTextEdit(this);
    report->setReadOnly(true);
    report->setFont(Theme::codeFont());
    report->setAccessibleName(worded("diag.tree.title"));
    report->setTabChangesFocus(true);
    report->setContextMenuPolicy(Qt::NoContextMenu);
    report->setMinimumHeight(reportHeight);
    column().addWidget(report);
}

void TreeSection::showApps()
{
    picker->clear();
    picker->addItem(worded("diag.tree.frontmost"));
    for (RunningApp const& app : apps.all())
        picker->addItem(toQString(app.name));
    picker->setCurrentIndex(apps.indexOf(check.selectedPid()) + 1);
}

void TreeSection::refresh()
{
    captureNow->setEnabled(!check.isBusy());
    report->setVisible(!check.report().empty());
    report->setPlainText(toQString(check.report()));
}

} // namespace zelvo
