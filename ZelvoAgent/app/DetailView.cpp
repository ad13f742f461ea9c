#include "app/DetailView.h"

#include <QScrollBar>
#include <QTextBlock>
#include <QTextLayout>
#include <QTextOption>
#include <QTimer>

#include <algorithm>
#include <cmath>

namespace zelvo {

namespace {

constexpr qsizetype linesAtOnce = 400;
constexpr QTextOption::WrapMode wrapping = QTextOption::WrapAtWordBoundaryOrAnywhere;

/// The height of a line when it is wrapped to a width.
double wrappedHeight(QString const& text, QFont const& font, double width)
{
    QTextOption option;
    option.setWrapMode(wrapping);
    option.setTextDirection(Qt::LeftToRight);
    QTextLayout layout(text, font);
    layout.setTextOption(option);
    double height = 0;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        height += line.height();
    }
    layout.endLayout();
    return height;
}

} // namespace

DetailView::DetailView(QStringList lines, QFont const& font, int width, int highest, QWidget* parent)
    : QPlainTextEdit(parent), waiting(std::move(lines))
{
    setFont(font);
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setTabChangesFocus(true);
    setUndoRedoEnabled(false);
    setCursorWidth(0);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWordWrapMode(wrapping);
    setFrameShape(QFrame::NoFrame);
    QTextOption option = document()->defaultTextOption();
    option.setTextDirection(Qt::LeftToRight); // Whatever letters it begins with.
    document()->setDefaultTextOption(option);
    setFixedWidth(width);
    addMore();
    fit(highest);
    QObject::connect(verticalScrollBar(), &QScrollBar::valueChanged, this, [this] {
        if (onScrolled)
            onScrolled();
    });
    QObject::connect(verticalScrollBar(), &QScrollBar::rangeChanged, this, [this] {
        if (onScrolled)
            onScrolled();
    });
}

void DetailView::addMore()
{
    qsizetype const count = std::min(waiting.size(), linesAtOnce);
    QString const text = QStringList(waiting.begin(), waiting.begin() + count).join(u'\n');
    if (document()->isEmpty())
        setPlainText(text);
    else
        appendPlainText(text);
    waiting.erase(waiting.begin(), waiting.begin() + count);
    if (!waiting.empty())
        QTimer::singleShot(0, this, [this] { addMore(); });
}

// The document wraps its lines only when it is shown.
void DetailView::fit(int highest)
{
    ensurePolished();
    double const margin = document()->documentMargin();
    double height = 3 * margin; // The first line has an extra one.
    for (QTextBlock block = document()->begin(); block.isValid() && height < highest; block = block.next())
        height += wrappedHeight(block.text(), font(), width() - 2 * margin);
    setFixedHeight(std::min(static_cast<int>(std::ceil(height)), highest));
    // A scroll bar makes lines wrap that fit without it, and so stays necessary once it is there.
    if (waiting.empty() && height <= highest)
        setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
}

bool DetailView::hasMoreBelow() const
{
    return !waiting.empty() || verticalScrollBar()->value() < verticalScrollBar()->maximum();
}

} // namespace zelvo
