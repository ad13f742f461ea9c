#pragma once

#include <QColor>
#include <QWidget>

namespace zelvo {

/// A small drawn sign beside a line of text, sharp at every scale. It repeats what the text says. Thread:
/// main.
class Glyph final : public QWidget {
public:
    enum class Shape { seal, warning, info };
    static constexpr int size = 18; ///< points, both ways

    Glyph(Shape shape, QColor color, QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Shape shape;
    QColor color;
};

} // namespace zelvo
