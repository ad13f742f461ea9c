#pragma once

#include <QLabel>
#include <QString>

namespace zelvo {

/// Plain text that wraps in a given width and is just as high as that takes. What somebody else worded is
/// shown as the letters that it is: no markup, no control characters, and a long word is broken. Thread:
/// main.
class WrappedLabel final : public QLabel {
public:
    WrappedLabel(QString const& text, QFont const& font, int width, QWidget* parent);

    void setColor(QColor const& color);

private:
    void fit();
};

/// A text from outside, in one line: without control and direction characters, cut after `longest`
/// characters.
QString shownText(std::string_view text, std::size_t longest);

} // namespace zelvo
