#pragma once

#include <QStringList>

#include <string_view>

namespace zelvo {

/// A text from outside as lines that hide nothing. Characters without a glyph (controls, direction marks,
/// invisible letters) appear as their number, so they neither take effect nor go unseen. Long runs of
/// empty lines or spaces are replaced by their count, so that they push nothing out of sight. Combining marks
/// are limited so that they cover no other line. A very long line is split into pieces. No two texts look the
/// same: a sign that stands for something unseen appears as its number when the text itself has it.
QStringList exactLines(std::string_view text);
/// The same for a text that is one line by its nature: line ends in it appear as numbers.
QStringList exactLine(std::string_view text);

} // namespace zelvo
