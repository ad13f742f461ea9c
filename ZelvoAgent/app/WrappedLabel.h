#pragma once

#include <QLabel>
#include <QString>

namespace zelvo {

/// Plain text that wraps in a given width and is as high as it needs. Foreign text is shown literally: no
/// markup, no control characters, long words broken. Thread: main.
class WrappedLabel final : public QLabel {
public:
    WrappedLabel(QString const& text, QFont const& font, int width, QWidget* parent);

    void setColor(QColor const& color);

private:
    void fit();
};

/// With invisible spaces inside long words, because a label breaks lines at spaces only.
QString breakable(QString const& text);
/// A foreign text on one line: without control and direction characters, cut after `longest` characters.
QString shownText(std::string_view text, std::size_t longest);

} // namespace zelvo
