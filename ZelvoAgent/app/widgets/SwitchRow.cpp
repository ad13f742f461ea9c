#include "app/widgets/SwitchRow.h"

#include "app/SwitchButton.h"
#include "app/widgets/Spacing.h"
#include "app/widgets/TextLabel.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

#include <utility>

namespace zelvo {

SwitchRow::SwitchRow(QString const& name, QString const& note, QWidget* parent)
    : ToggleRow(name, note, parent)
{
    auto* const words = new QVBoxLayout;
    words->setSpacing(2);
    words->addWidget(new TextLabel(name, TextLabel::Size::normal, TextLabel::Tone::primary, this));
    if (!note.isEmpty())
        words->addWidget(new TextLabel(note, TextLabel::Size::small, TextLabel::Tone::secondary, this));
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(spacing::medium);
    row->addLayout(words, 1);
    row->addWidget(toggle, 0, Qt::AlignTop);
}

SwitchRow* SwitchRow::onTurned(std::function<void(bool)> call)
{
    QObject::connect(toggle, &QCheckBox::clicked, this, [call = std::move(call)](bool on) { call(on); });
    return this;
}

void SwitchRow::setOn(bool on)
{
    toggle->setChecked(on);
}

bool SwitchRow::isOn() const
{
    return toggle->isChecked();
}

} // namespace zelvo
