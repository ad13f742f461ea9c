#include "app/diagnostics/ConfirmSection.h"

#include "app/diagnostics/TestQuestion.h"
#include "app/widgets/Button.h"

#include <QVBoxLayout>

namespace zelvo {

ConfirmSection::ConfirmSection(TestQuestion& question, QWidget* parent)
    : DiagnosticsSection("diag.confirm.title", parent), question(question),
      following(question.changed.connect([this] { refresh(); }))
{
    auto* const button = new Button(worded("diag.confirm.show"), Button::Kind::secondary, this);
    button->onPressed([&question] { question.ask(); });
    column().addWidget(button, 0, Qt::AlignLeading);
    addHint("diag.confirm.hint");
    result = addText(QString(), TextLabel::Size::normal, TextLabel::Tone::primary);
    hint = addText(QString(), TextLabel::Size::small, TextLabel::Tone::secondary);
    refresh();
}

void ConfirmSection::refresh()
{
    result->setShownText(toQString(question.result()));
    result->setVisible(!question.result().empty());
    hint->setShownText(toQString(question.hint()));
    hint->setVisible(!question.hint().empty());
}

} // namespace zelvo
