#include "app/diagnostics/DiagnosticsSection.h"

#include "app/widgets/Card.h"
#include "app/widgets/Spacing.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace zelvo {

DiagnosticsSection::DiagnosticsSection(std::string_view title, QWidget* parent)
    : QWidget(parent), card(new Card(this))
{
    auto* const whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    whole->setSpacing(spacing::small);
    whole->addWidget(new TextLabel(worded(title), TextLabel::Size::heading, TextLabel::Tone::primary, this));
    whole->addWidget(card);
}

QVBoxLayout& DiagnosticsSection::column()
{
    return card->column();
}

TextLabel* DiagnosticsSection::addLine(std::string_view name)
{
    auto* const row = new QHBoxLayout;
    row->setSpacing(spacing::medium);
    row->addWidget(new TextLabel(worded(name), TextLabel::Size::normal, TextLabel::Tone::secondary, card), 2);
    auto* const value = new TextLabel(QString(), TextLabel::Size::normal, TextLabel::Tone::primary, card);
    value->setTextInteractionFlags(Qt::TextSelectableByMouse);
    row->addWidget(value, 3);
    column().addLayout(row);
    return value;
}

TextLabel* DiagnosticsSection::addText(QString const& text, TextLabel::Size size, TextLabel::Tone tone)
{
    auto* const label = new TextLabel(text, size, tone, card);
    column().addWidget(label);
    return label;
}

void DiagnosticsSection::addHint(std::string_view key)
{
    addText(worded(key), TextLabel::Size::small, TextLabel::Tone::secondary);
}

} // namespace zelvo
