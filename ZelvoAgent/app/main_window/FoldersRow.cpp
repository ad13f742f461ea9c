#include "app/main_window/FoldersRow.h"

#include "app/Theme.h"
#include "app/widgets/Button.h"
#include "app/widgets/ElidedLabel.h"
#include "app/widgets/Spacing.h"
#include "app/widgets/Symbol.h"
#include "app/widgets/TextLabel.h"
#include "base/Task.h"

#include <QFileDialog>
#include <QHBoxLayout>
#include <QVBoxLayout>

namespace zelvo {

FoldersRow::FoldersRow(AppServices const& services, QWidget* parent)
    : QWidget(parent), services(services), lines(new QVBoxLayout),
      failure(new TextLabel(
          worded("main.folders.refused"), TextLabel::Size::small, TextLabel::Tone::warning, this))
{
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(spacing::tight);
    lines->setSpacing(spacing::tight);
    column->addWidget(
        new TextLabel(worded("main.folders"), TextLabel::Size::small, TextLabel::Tone::secondary, this));
    column->addLayout(lines);
    column->addWidget(failure);
    failure->hide();
    auto* const choose = new Button(worded("main.folders.add"), Button::Kind::link, this);
    choose->onPressed([this] { this->choose(); });
    column->addWidget(choose, 0, Qt::AlignLeading);
    refresh();
}

void FoldersRow::refresh()
{
    change([]() -> Task<bool> { co_return true; });
}

void FoldersRow::change(std::function<Task<bool>()> work)
{
    spawn(services.contexts.main,
          [this, weak = std::weak_ptr(alive), &store = services.parts.folders, work]() -> Task<> {
              bool const isDone = co_await work();
              std::vector<std::string> const stored = co_await store.list();
              if (weak.expired())
                  co_return; // The window was closed meanwhile.
              failure->setVisible(!isDone);
              show(stored);
          });
}

void FoldersRow::show(std::vector<std::string> const& folders)
{
    if (shown == folders)
        return;
    shown = folders;
    while (QLayoutItem* const item = lines->takeAt(0)) {
        if (QWidget* const line = item->widget()) {
            line->hide();
            line->deleteLater();
        }
        delete item;
    }
    for (std::string const& folder : folders)
        addLine(folder);
    if (folders.empty())
        lines->addWidget(new TextLabel(worded("main.folders.empty"), TextLabel::Size::small,
                                       TextLabel::Tone::primary, this));
}

void FoldersRow::addLine(std::string const& folder)
{
    auto* const line = new QWidget(this);
    auto* const row = new QHBoxLayout(line);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(spacing::small);
    row->addWidget(new SymbolView("folder", Theme(palette()).secondary, line));
    auto* const path =
        new ElidedLabel(toQString(folder), TextLabel::Size::normal, TextLabel::Tone::primary, line);
    row->addWidget(path, 1);
    auto* const take = new Button(worded("main.folders.remove"), Button::Kind::link, line);
    take->setAccessibleName(worded("main.folders.remove") + ": " + toQString(folder));
    take->onPressed([this, folder] { remove(folder); });
    row->addWidget(take);
    lines->addWidget(line);
}

// The toolkit's own chooser: another program's would be outside of the guard for our windows.
void FoldersRow::choose()
{
    auto* const chooser = new QFileDialog(window(), worded("main.folders.choose"));
    chooser->setAttribute(Qt::WA_DeleteOnClose);
    chooser->setOption(QFileDialog::DontUseNativeDialog);
    chooser->setOption(QFileDialog::ShowDirsOnly);
    chooser->setFileMode(QFileDialog::Directory);
    chooser->setLabelText(QFileDialog::Accept, worded("main.folders.allow"));
    chooser->setLabelText(QFileDialog::Reject, worded("common.cancel"));
    chooser->setLabelText(QFileDialog::LookIn, worded("main.folders.in"));
    chooser->setLabelText(QFileDialog::FileName, worded("main.folders.name"));
    // The window may have built another row meanwhile.
    QObject::connect(chooser, &QFileDialog::fileSelected, window(),
                     [window = window()](QString const& folder) {
                         for (QWidget* const each : window->findChildren<QWidget*>())
                             if (auto* const row = dynamic_cast<FoldersRow*>(each); row && row->isVisible())
                                 row->add(folder.toStdString());
                     });
    chooser->open();
}

void FoldersRow::add(std::string folder)
{
    change([&store = services.parts.folders, folder = std::move(folder)] { return store.add(folder); });
}

void FoldersRow::remove(std::string folder)
{
    change([&store = services.parts.folders, folder = std::move(folder)]() -> Task<bool> {
        co_await store.remove(folder);
        co_return true;
    });
}

} // namespace zelvo
