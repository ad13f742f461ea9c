#include "app/main_window/ActivityDetail.h"

#include "app/Theme.h"
#include "app/widgets/Button.h"
#include "app/widgets/Spacing.h"
#include "app/widgets/TextLabel.h"
#include "state/ActivityPresentation.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPlainTextEdit>
#include <QVBoxLayout>

#include <algorithm>

namespace zelvo {

namespace {

constexpr int maxLines = 10; // Of a code before it scrolls.

/// A text to read, select and copy, as high as its lines.
class CodeView final : public QPlainTextEdit {
public:
    CodeView(QString const& text, QWidget* parent) : QPlainTextEdit(text, parent)
    {
        setReadOnly(true);
        setFont(Theme::codeFont());
        setWordWrapMode(QTextOption::WrapAnywhere);
        setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        setTabChangesFocus(true);
        setContextMenuPolicy(Qt::NoContextMenu);
        int const lines = std::clamp(
            static_cast<int>(text.count('\n')) + 1 + static_cast<int>(text.size()) / 60, 1, maxLines);
        setFixedHeight(lines * fontMetrics().lineSpacing() + 2 * spacing::medium);
    }
};

QWidget* newCodeView(QString const& text, QString const& name, QWidget* parent)
{
    auto* const view = new CodeView(text, parent);
    view->setAccessibleName(name);
    return view;
}

} // namespace

ActivityDetail::ActivityDetail(ActivityEntry const& entry, QWidget* parent) : QWidget(parent)
{
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, spacing::small);
    column->setSpacing(spacing::tight);
    QString const text = toQString(entry.detail.value_or(""));
    if (ActivityPresentation::detailIsCode(entry))
        addCode(text);
    else
        addLine(text);
    if (entry.cwd)
        addLine(worded("confirm.shell.folder") + ' ' + toQString(*entry.cwd));
    if (!entry.env.empty()) {
        QStringList variables;
        for (std::string const& line : entry.env)
            variables.append(toQString(line));
        addLine(worded("confirm.shell.variables"));
        layout()->addWidget(newCodeView(variables.join('\n'), worded("confirm.shell.variables"), this));
    }
}

void ActivityDetail::addCode(QString const& text)
{
    code = text;
    layout()->addWidget(newCodeView(text, worded("main.detail"), this));
    auto* const copy = new Button(worded("common.copy"), Button::Kind::link, this);
    copy->onPressed([this] { QGuiApplication::clipboard()->setText(code); });
    static_cast<QVBoxLayout*>(layout())->addWidget(copy, 0, Qt::AlignLeading);
}

void ActivityDetail::addLine(QString const& text)
{
    layout()->addWidget(new TextLabel(text, TextLabel::Size::small, TextLabel::Tone::primary, this));
}

void ActivityDetail::keyPressEvent(QKeyEvent* event)
{
    if (event->matches(QKeySequence::Copy) && !code.isEmpty())
        QGuiApplication::clipboard()->setText(code);
    else
        QWidget::keyPressEvent(event);
}

} // namespace zelvo
