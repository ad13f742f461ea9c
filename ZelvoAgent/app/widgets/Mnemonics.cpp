#include "app/widgets/Mnemonics.h"

#include "app/widgets/Button.h"

#include <QSet>

namespace zelvo {

namespace {

/// The place of the first letter that no other label has taken; -1 if all are.
qsizetype freeLetter(QString const& label, QSet<QChar> const& taken)
{
    for (qsizetype i = 0; i < label.size(); ++i)
        if (label[i].isLetter() && !taken.contains(label[i].toLower()))
            return i;
    return -1;
}

} // namespace

void assignMnemonics(QWidget& view)
{
    QSet<QChar> taken;
    for (QPushButton* const each : view.findChildren<QPushButton*>()) {
        auto* const button = dynamic_cast<Button*>(each);
        if (!button || !button->isVisibleTo(&view))
            continue;
        qsizetype const place = freeLetter(button->label(), taken);
        if (place < 0)
            continue;
        taken.insert(button->label()[place].toLower());
        button->setMnemonic(place);
    }
}

} // namespace zelvo
