#include "app/DetailCard.h"

#include "app/DetailView.h"
#include "app/Theme.h"
#include "app/WrappedLabel.h"
#include "base/LocalizedTexts.h"

#include <QVBoxLayout>

#include <utility>

namespace zelvo {

namespace {

// Points.
constexpr int padding = 8;
constexpr int border = 1;
constexpr int gap = 4;

} // namespace

DetailCard::DetailCard(Contents contents, QFont const& font, int width, int highest, QWidget* parent)
    : QFrame(parent), isWarning(contents.isWarning)
{
    setObjectName("card");
    int const inner = width - 2 * (padding + border);
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(padding, padding, padding, padding);
    column->setSpacing(gap);
    if (!contents.caption.isEmpty()) {
        caption = new WrappedLabel(contents.caption, Theme::smallFont(), inner, this);
        column->addWidget(caption);
    }
    view = new DetailView(std::move(contents.lines), font, inner, highest, this);
    view->setAccessibleName(contents.caption.isEmpty() ? QString::fromStdString(localized("confirm.detail"))
                                                       : contents.caption);
    view->onScrolled = [this] { showMoreBelow(); };
    column->addWidget(view);
    moreBelow = new WrappedLabel(QString::fromStdString(localized("confirm.moreBelow")), Theme::smallFont(),
                                 inner, this);
    moreBelow->hide();
    column->addWidget(moreBelow);
}

void DetailCard::paintIn(QPalette const& palette)
{
    Theme const theme(palette);
    setStyleSheet(QString("#card { background: %1; border: 1px solid %2; border-radius: 10px; }"
                          "QPlainTextEdit { background: transparent; }")
                      .arg(theme.card.name(), (isWarning ? theme.warning : theme.line).name()));
    QPalette warning = palette;
    warning.setColor(QPalette::WindowText, theme.warning);
    moreBelow->setPalette(warning);
    if (!caption)
        return;
    QPalette quiet = palette;
    quiet.setColor(QPalette::WindowText, theme.secondary);
    caption->setPalette(isWarning ? warning : quiet);
}

void DetailCard::showEvent(QShowEvent* event)
{
    QFrame::showEvent(event);
    showMoreBelow();
}

void DetailCard::showMoreBelow()
{
    moreBelow->setVisible(view->hasMoreBelow());
}

} // namespace zelvo
