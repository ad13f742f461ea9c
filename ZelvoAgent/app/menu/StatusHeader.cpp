#include "app/menu/StatusHeader.h"

#include "app/Theme.h"
#include "app/menu/MarkDrawing.h"
#include "app/widgets/Spacing.h"
#include "app/widgets/Symbol.h"
#include "app/widgets/TextLabel.h"

#include <QAccessible>
#include <QHBoxLayout>
#include <QVBoxLayout>

namespace zelvo {

namespace {

// Points.
constexpr int largeMark = 40;
constexpr int smallMark = 30;
constexpr int problemSign = 18;

} // namespace

StatusHeader::StatusHeader(bool compact, QWidget* parent)
    : QWidget(parent), mark(new MarkView(compact ? smallMark : largeMark, this)),
      title(new TextLabel(QString(),
                          compact ? TextLabel::Size::heading : TextLabel::Size::title,
                          TextLabel::Tone::primary,
                          this)),
      detail(new TextLabel(QString(),
                           compact ? TextLabel::Size::small : TextLabel::Size::normal,
                           TextLabel::Tone::secondary,
                           this)),
      problem(new SymbolView("exclamationmark.circle", Theme(palette()).warning, this, problemSign))
{
    auto* const words = new QVBoxLayout;
    words->setSpacing(2);
    words->addWidget(title);
    words->addWidget(detail);
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(spacing::medium);
    row->addWidget(mark, 0, Qt::AlignTop);
    row->addLayout(words, 1);
    row->addWidget(problem, 0, Qt::AlignTop);
}

void StatusHeader::setStatus(AgentStatus const& status)
{
    if (shown == status)
        return;
    bool const isChange = shown.has_value() && shown->title != status.title;
    shown = status;
    mark->setMark(status.mark);
    title->setShownText(toQString(status.title));
    detail->setShownText(toQString(status.detail));
    detail->setVisible(!status.detail.empty());
    problem->setVisible(status.isProblem);
    setAccessibleName(toQString(status.detail.empty() ? status.title : status.title + ". " + status.detail));
    if (!isChange)
        return;
    QAccessibleEvent alert(title, QAccessible::NameChanged);
    QAccessible::updateAccessibility(&alert);
}

} // namespace zelvo
