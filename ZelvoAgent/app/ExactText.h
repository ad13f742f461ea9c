#pragma once

#include <QStringList>

#include <string_view>

namespace zelvo {

/// A text from outside as lines that can be shown and hide nothing: what has no look of its own (control
/// characters, direction marks, invisible letters) stands there by its number or sign, so that it neither
/// works nor goes unseen; many empty lines or spaces in a row are told instead of shown, so that they push
/// nothing out of sight; and marks upon a letter are few enough to cover no other line. A very long line is
/// given in pieces.
QStringList exactLines(std::string_view text);

} // namespace zelvo
