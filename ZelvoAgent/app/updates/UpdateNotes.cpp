#include "app/updates/UpdateNotes.h"

#include "app/Theme.h"
#include "app/widgets/ScrollColumn.h"
#include "app/widgets/Spacing.h"
#include "app/widgets/TextLabel.h"

#include <QTextBlock>
#include <QTextLayout>

#include <algorithm>
#include <cmath>

namespace zelvo {

namespace {

constexpr int lineWidth = 1; // Points.
constexpr int around = 2 * (lineWidth + spacing::small);
constexpr int minLines = 2;
constexpr int maxLines = 9;

/// As a card, with a line in the accent colour while it has the keyboard.
QString cardStyle(Theme const& theme)
{
    return QString("QPlainTextEdit { background: %1; border: %2px solid %3; border-radius: %4px; }"
                   "QPlainTextEdit:focus { border-color: %5; }")
        .arg(theme.card.name())
        .arg(lineWidth)
        .arg(theme.line.name())
        .arg(spacing::cardRadius)
        .arg(theme.accent.name());
}

} // namespace

UpdateNotes::UpdateNotes(QString const& text, int width, QWidget* parent) : QPlainTextEdit(text, parent)
{
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setTabChangesFocus(true);
    setContextMenuPolicy(Qt::NoContextMenu);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBar(new ThinScrollBar(this));
    setAccessibleName(worded("update.notes"));
    setStyleSheet(cardStyle(Theme(palette())));
    document()->setDocumentMargin(spacing::small);
    int const least = minLines * fontMetrics().lineSpacing();
    int const most = maxLines * fontMetrics().lineSpacing();
    int const room = width - around - verticalScrollBar()->sizeHint().width();
    setFixedSize(width, std::clamp(heightOfLines(room, most), least, most) + around + 2);
}

/// The toolkit lays the lines out only when they are shown, so this does the same before.
int UpdateNotes::heightOfLines(int width, int enough) const
{
    double height = 0;
    for (QTextBlock block = document()->begin(); block.isValid() && height < enough; block = block.next()) {
        QTextLayout layout(block.text(), font());
        layout.setTextOption(document()->defaultTextOption());
        layout.beginLayout();
        for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
            line.setLeadingIncluded(true);
            line.setLineWidth(width);
            height += line.height();
        }
        layout.endLayout();
    }
    return static_cast<int>(std::ceil(height));
}

} // namespace zelvo
