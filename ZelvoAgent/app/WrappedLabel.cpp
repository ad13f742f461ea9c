#include "app/WrappedLabel.h"

#include "base/Text.h"

namespace zelvo {

namespace {

constexpr qsizetype maxWordLength = 24; // In UTF-16 units; fits our narrowest column in the largest letters.

} // namespace

QString breakable(QString const& text)
{
    QString broken;
    qsizetype run = 0;
    for (QChar const letter : text) {
        run = letter.isSpace() ? 0 : run + 1;
        if (run > maxWordLength && !letter.isLowSurrogate() && !letter.isMark()) {
            broken += QChar(0x200b);
            run = 1;
        }
        broken += letter;
    }
    return broken;
}

WrappedLabel::WrappedLabel(QString const& text, QFont const& font, int width, QWidget* parent)
    : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    setFont(font);
    setText(breakable(text));
    setAccessibleName(text);
    setFixedWidth(width);
    fit();
}

void WrappedLabel::setColor(QColor const& color)
{
    QPalette colored = palette();
    colored.setColor(QPalette::WindowText, color);
    setPalette(colored);
}

void WrappedLabel::fit()
{
    ensurePolished();
    setFixedHeight(heightForWidth(width()));
}

QString shownText(std::string_view text, std::size_t longest)
{
    QString const oneLine = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())).simplified();
    std::string const plain = text::withoutControlCharacters(oneLine.toStdString());
    std::string cut = text::prefix(plain, longest);
    if (cut.size() < plain.size())
        cut += "…";
    return QString::fromStdString(cut);
}

} // namespace zelvo
