#include "app/menu/CompactActivity.h"

#include "app/Theme.h"
#include "app/WrappedLabel.h"
#include "app/widgets/ElidedLabel.h"
#include "app/widgets/Spacing.h"
#include "app/widgets/Symbol.h"
#include "app/widgets/TextLabel.h"
#include "state/ActivityPresentation.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

#include <algorithm>

namespace zelvo {

namespace {

constexpr std::size_t maxCharacters = 200;

} // namespace

CompactActivity::CompactActivity(QWidget* parent) : QWidget(parent), column(new QVBoxLayout(this))
{
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(spacing::small);
}

void CompactActivity::setEntries(std::span<ActivityEntry const> entries)
{
    std::span<ActivityEntry const> const latest = entries.first(std::min(entries.size(), maxRows));
    if (isFilled && std::ranges::equal(latest, shown))
        return;
    isFilled = true;
    shown.assign(latest.begin(), latest.end());
    while (QLayoutItem* const item = column->takeAt(0)) {
        delete item->widget(); // Rows take no input, so none of them is in use now.
        delete item;
    }
    for (ActivityEntry const& entry : shown)
        column->addWidget(newRow(entry));
    if (shown.empty())
        column->addWidget(new TextLabel(worded("activity.empty"), TextLabel::Size::small,
                                        TextLabel::Tone::secondary, this));
}

QWidget* CompactActivity::newRow(ActivityEntry const& entry)
{
    auto* const row = new QWidget(this);
    auto* const line = new QHBoxLayout(row);
    line->setContentsMargins(0, 0, 0, 0);
    line->setSpacing(spacing::small);
    line->addWidget(new SymbolView(ActivityPresentation::symbol(entry), Theme(palette()).secondary, row), 0,
                    Qt::AlignTop);
    auto* const words = new QVBoxLayout;
    words->setSpacing(0);
    QString const summary = shownText(entry.summary, maxCharacters);
    words->addWidget(new ElidedLabel(summary, TextLabel::Size::normal, TextLabel::Tone::primary, row));
    QString const subtitle = shownText(ActivityPresentation::subtitle(entry), maxCharacters);
    words->addWidget(new ElidedLabel(subtitle, TextLabel::Size::small, TextLabel::Tone::secondary, row));
    line->addLayout(words, 1);
    QString const time = toQString(ActivityPresentation::time(entry.at));
    auto* const when = new TextLabel(time, TextLabel::Size::small, TextLabel::Tone::secondary, row);
    when->setWordWrap(false);
    line->addWidget(when, 0, Qt::AlignTop);
    return row;
}

} // namespace zelvo
