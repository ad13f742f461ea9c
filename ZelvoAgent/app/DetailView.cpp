#include "app/DetailView.h"

#include <QScrollBar>
#include <QTextBlock>
#include <QTextOption>
#include <QTimer>

#include <algorithm>
#include <cmath>

namespace zelvo {

namespace {

constexpr qsizetype linesAtOnce = 400;

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
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
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

void DetailView::fit(int highest)
{
    ensurePolished();
    document()->setTextWidth(width()); // The viewport gets it only when it is shown.
    double height = 2 * document()->documentMargin();
    for (QTextBlock block = document()->begin(); block.isValid() && height < highest; block = block.next())
        height += blockBoundingRect(block).height();
    setFixedHeight(std::min(static_cast<int>(std::ceil(height)), highest));
}

bool DetailView::hasMoreBelow() const
{
    return !waiting.empty() || verticalScrollBar()->value() < verticalScrollBar()->maximum();
}

} // namespace zelvo
