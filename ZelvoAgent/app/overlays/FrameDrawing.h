#pragma once

#include "app/Theme.h"

#include <QPainter>
#include <QRectF>
#include <QSizeF>
#include <QString>

#include <array>
#include <optional>
#include <string>

/// How the working indicator looks: a frame around the main display and a badge at the middle of its top
/// edge. In points; the display's top left corner is (0, 0). Thread: main.
namespace zelvo::FrameDrawing {

struct Figure {
    QSizeF display;
    std::optional<std::string> agent; ///< fit for one line
    bool isRecording = false;
    bool operator==(Figure const&) const = default;
};

struct Badge {
    QString text;
    QRectF frame;
};

/// The badge, in the desktop's font. A long name is shortened, so that the rest of the sentence is always
/// there.
Badge badgeOf(Figure const& figure);

/// The parts of the display where something is drawn: along the top, bottom, left and right edge. They do not
/// overlap.
std::array<QRectF, 4> partsOf(Figure const& figure);
void paint(QPainter& painter, Figure const& figure, Theme const& theme);

} // namespace zelvo::FrameDrawing
