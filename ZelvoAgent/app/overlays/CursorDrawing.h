#pragma once

#include "app/Theme.h"

#include <QPainter>
#include <QRectF>

#include <optional>
#include <string>

/// How the agent's cursor looks. Everything is drawn in points around the point that it stands at or that was
/// clicked, which is (0, 0). Thread: main.
namespace zelvo::CursorDrawing {

/// The pointer and the label beside it.
struct Figure {
    std::string name;
    std::optional<std::string> activity;
    double opacity = 1;
    bool operator==(Figure const&) const = default;
};

/// What the figure covers.
QRectF areaOf(Figure const& figure);
void paint(QPainter& painter, Figure const& figure, Theme const& theme);

/// What a ripple covers when it is largest.
QRectF rippleArea();
/// growth  from 0 to 1
void paintRipple(QPainter& painter, double growth, Theme const& theme);

} // namespace zelvo::CursorDrawing
