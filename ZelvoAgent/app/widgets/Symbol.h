#pragma once

#include <QColor>
#include <QRectF>
#include <QWidget>

#include <string>
#include <string_view>

class QPainter;

namespace zelvo {

/// The small signs in this program's windows, drawn in one colour and sharp at every scale. Their names are
/// those of ActivityPresentation::symbol, and those that windows use. Thread: main.
namespace Symbol {

constexpr int size = 16; ///< points, both ways, where nothing else is said

/// An unknown name draws nothing.
void draw(QPainter& painter, std::string_view name, QRectF const& place, QColor const& color);
bool isKnown(std::string_view name);

} // namespace Symbol

/// A sign beside a text that says the same; screen readers skip it.
class SymbolView final : public QWidget {
public:
    SymbolView(std::string_view name, QColor color, QWidget* parent, int size = Symbol::size);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    std::string name;
    QColor color;
};

} // namespace zelvo
