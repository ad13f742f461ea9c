#pragma once

#include <QFrame>

class QVBoxLayout;

namespace zelvo {

/// A framed group of rows. Thread: main.
class Card final : public QFrame {
public:
    explicit Card(QWidget* parent);
    QVBoxLayout& column() { return *rows; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
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
