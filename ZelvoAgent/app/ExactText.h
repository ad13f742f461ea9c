#pragma once

#include <QStringList>

#include <string_view>

namespace zelvo {

/// Splits a text from outside into lines that hide nothing. Characters without a glyph (controls, direction
/// marks, invisible letters) appear as their number, so they neither take effect nor go unseen. Long runs of
/// empty lines or spaces are replaced by their count, so that they push nothing out of sight. Combining marks
/// are limited so that they cover no other line. A very long line is split into pieces. If the text itself
/// contains one of our signs, that sign appears as its number, so two different texts never look the same.
QStringList exactLines(std::string_view text);
/// The same for a text that is one line by its nature: line ends in it appear as numbers.
QStringList exactLine(std::string_view text);

} // namespace zelvo
