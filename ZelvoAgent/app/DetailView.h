#pragma once

#include <QPlainTextEdit>

#include <functional>

namespace zelvo {

/// Lines to be read, in a column as high as they need up to a limit; beyond it they scroll. A text of any
/// length opens at once: what is far down is added bit by bit. Thread: main.
class DetailView final : public QPlainTextEdit {
public:
    DetailView(QStringList lines, QFont const& font, int width, int highest, QWidget* parent);

    /// Whether there is more below what is in sight.
    bool hasMoreBelow() const;
    /// Called when that may have changed.
    std::function<void()> onScrolled;

private:
    void addMore();
    void fit(int highest);

    QStringList waiting; ///< lines that are still to be added
};

} // namespace zelvo
