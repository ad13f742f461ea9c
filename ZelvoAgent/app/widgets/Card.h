#pragma once

#include "app/widgets/Spacing.h"

#include <QFrame>

class QVBoxLayout;

namespace zelvo {

/// A framed group of rows. Thread: main.
class Card final : public QFrame {
public:
    /// radius  of its corners, in points
    explicit Card(QWidget* parent, int radius = spacing::cardRadius);
    QVBoxLayout& column() { return *rows; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int const radius;
    QVBoxLayout* rows;
};

/// A thin line between groups.
class Divider final : public QWidget {
public:
    explicit Divider(QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace zelvo
