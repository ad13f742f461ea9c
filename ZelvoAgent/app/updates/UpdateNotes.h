#pragma once

#include <QPlainTextEdit>

namespace zelvo {

/// What is new in a version, to read, select and copy: plain text, whatever it contains. As high as its
/// lines, up to a limit beyond which it scrolls. Thread: main.
class UpdateNotes final : public QPlainTextEdit {
public:
    /// width  of the widget, in points
    UpdateNotes(QString const& text, int width, QWidget* parent);

private:
    /// Of the lines at this width; at least `enough` if there are more.
    int heightOfLines(int width, int enough) const;
};

} // namespace zelvo
