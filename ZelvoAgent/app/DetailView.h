#pragma once

#include <QPlainTextEdit>

#include <functional>

namespace zelvo {

/// Lines of text in a column that is as high as they need up to a limit, and scrolls beyond it. A text of any
/// length opens at once: lines further down are added bit by bit. Thread: main.
class DetailView final : public QPlainTextEdit {
public:
    DetailView(QStringList lines, QFont const& font, int width, int highest, QWidget* parent);

    /// Whether there are lines below the visible part.
    bool hasMoreBelow() const;
    /// Called when that may have changed.
    std::function<void()> onScrolled;

private:
    void addMore();
    void fit(int highest);

    QStringList waiting; ///< lines not added yet
};

} // namespace zelvo
