#include "app/ExactText.h"

#include <QChar>
#include <QString>

#include <algorithm>
#include <array>
#include <utility>

namespace zelvo {

namespace {

constexpr int maxPiece = 2000;   // Characters; a longer paragraph takes long to lay out.
constexpr int maxEmptyLines = 3; // In a row.
constexpr int maxSpaces = 40;    // In a row.
constexpr int maxMarks = 4;      // On one letter.
constexpr char32_t space = U' ';

// Letters and marks without a glyph.
constexpr std::array invisible = {U'\u034F', U'\u115F', U'\u1160', U'\u17B4',
                                  U'\u17B5', U'\u2800', U'\u3164', U'\uFFA0'};

QString numbered(char32_t character)
{
    return QString("⟨U+%1⟩").arg(QString::number(character, 16).toUpper(), 4, QChar('0'));
}

QString repeated(QChar sign, qsizetype times)
{
    return QString("⟨%1 × %2⟩").arg(sign).arg(times);
}

bool isUnseen(char32_t character)
{
    switch (QChar::category(character)) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Other_Surrogate:
    case QChar::Other_NotAssigned:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        return std::ranges::find(invisible, character) != invisible.end();
    }
}

bool isMark(char32_t character)
{
    QChar::Category const category = QChar::category(character);
    return category == QChar::Mark_NonSpacing || category == QChar::Mark_Enclosing;
}

/// The signs that this file writes in the place of something else.
bool isOurSign(char32_t character)
{
    return character == U'⟨' || character == U'␣' || character == U'⏎';
}

enum class LineEnds { taken, shown };

/// Assembles the lines, character by character.
class Writer {
public:
    /// lineEnds  whether the text may end a line
    explicit Writer(LineEnds lineEnds) : lineEnds(lineEnds) {}

    void add(char32_t character)
    {
        if (character == space) {
            ++spaces;
            return;
        }
        writeSpaces();
        marks = isMark(character) ? marks + 1 : 0;
        if (character == U'\n' && lineEnds == LineEnds::taken)
            endLine();
        else if (character == U'\t')
            write("\t");
        else if (isUnseen(character) || isOurSign(character) || marks > maxMarks)
            write(numbered(character));
        else
            write(QString::fromUcs4(&character, 1));
    }

    QStringList end()
    {
        writeSpaces();
        if (!line.isEmpty())
            endLine();
        writeEmptyLines();
        return std::move(lines);
    }

private:
    void write(QString const& text)
    {
        writeEmptyLines();
        line += text;
        if (++length == maxPiece) {
            breakLine();
            isPieceOfMore = true;
        }
    }
    void endLine()
    {
        if (!line.isEmpty())
            breakLine();
        else if (!isPieceOfMore)
            ++emptyLines;
        isPieceOfMore = false;
    }
    void breakLine()
    {
        lines.push_back(std::move(line));
        line.clear();
        length = 0;
    }
    void writeSpaces()
    {
        qsizetype const count = std::exchange(spaces, 0);
        if (count > maxSpaces)
            write(repeated(QChar(u'␣'), count));
        else if (count > 0)
            write(QString(count, QChar::Space));
    }
    void writeEmptyLines()
    {
        qsizetype const count = std::exchange(emptyLines, 0);
        if (count > maxEmptyLines)
            lines.push_back(repeated(QChar(u'⏎'), count));
        else
            lines.insert(lines.end(), count, QString());
    }

    LineEnds const lineEnds;
    QStringList lines;
    QString line;
    int length = 0;             // Of the line, in characters.
    bool isPieceOfMore = false; // Earlier pieces of this line are among the lines.
    int marks = 0;
    qsizetype spaces = 0;     // Not yet written.
    qsizetype emptyLines = 0; // Not yet written.
};

QStringList exact(std::string_view text, LineEnds lineEnds)
{
    QString const whole = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    Writer writer(lineEnds);
    for (qsizetype at = 0; at < whole.size(); ++at) {
        char32_t character = whole[at].unicode();
        if (whole[at].isHighSurrogate() && at + 1 < whole.size()) {
            character = QChar::surrogateToUcs4(whole[at], whole[at + 1]);
            ++at;
        }
        bool const isLineEnd = lineEnds == LineEnds::taken && character == U'\r' && at + 1 < whole.size() &&
                               whole[at + 1] == u'\n';
        if (!isLineEnd) // "\r\n" is one end.
            writer.add(character);
    }
    return writer.end();
}

} // namespace

QStringList exactLines(std::string_view text)
{
    return exact(text, LineEnds::taken);
}

QStringList exactLine(std::string_view text)
{
    return exact(text, LineEnds::shown);
}

} // namespace zelvo
