#pragma once

#include "state/ZelvoMark.h"

#include <QColor>
#include <QIcon>
#include <QRectF>
#include <QWidget>

class QPainter;

namespace zelvo {

/// The program's mark, in one colour and sharp at every size. Thread: main.
namespace MarkDrawing {

void draw(QPainter& painter, QRectF const& place, ZelvoMark::State state, QColor const& color);

} // namespace MarkDrawing

namespace MenuBarIcon {

/// The icon of the tray: the mark, and a dot beside it while a recording runs.
QIcon image(ZelvoMark::State state, bool recording, QColor const& color);

} // namespace MenuBarIcon

/// The mark in a window; screen readers skip it.
class MarkView final : public QWidget {
public:
    MarkView(int size, QWidget* parent);
    void setMark(ZelvoMark::State next);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    ZelvoMark::State state = ZelvoMark::State::idle;
};

} // namespace zelvo
