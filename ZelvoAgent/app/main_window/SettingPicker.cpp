#include "app/main_window/SettingPicker.h"

#include "app/widgets/Picker.h"
#include "app/widgets/Spacing.h"
#include "app/widgets/TextLabel.h"

#include <QVBoxLayout>

namespace zelvo {

SettingPicker::SettingPicker(QString const& title,
                             QStringList const& choices,
                             std::function<void(int)> onChosen,
                             QWidget* parent)
    : QWidget(parent), picker(new Picker(title, this))
{
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(spacing::tight);
    auto* const label = new TextLabel(title, TextLabel::Size::small, TextLabel::Tone::secondary, this);
    label->setBuddy(picker); // A screen reader gets a picker's name from its label alone.
    column->addWidget(label);
    column->addWidget(picker);
    picker->addItems(choices);
    picker->onChosen(std::move(onChosen));
}

void SettingPicker::setChosen(int index)
{
    if (picker->currentIndex() != index)
        picker->setCurrentIndex(index);
    picker->updateGeometry();
}

int SettingPicker::chosen() const
{
    return picker->currentIndex();
}

} // namespace zelvo
