#pragma once

#include <QScrollArea>
#include <QScrollBar>

namespace zelvo {

/// A scroll bar without arrows that shows only its handle. Thread: main.
class ThinScrollBar final : public QScrollBar {
public:
    explicit ThinScrollBar(QWidget* parent);
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};

/// A column that scrolls up and down where its room is too low, and never to the side. Thread: main.
class ScrollColumn final : public QScrollArea {
public:
    /// Takes the content over.
    ScrollColumn(QWidget* content, QWidget* parent);
};

} // namespace zelvo
