#pragma once

#include <QWidget>

namespace zelvo {

/// The number of a step, or a check once it is done. Thread: main.
class StepBadge final : public QWidget {
public:
    StepBadge(int number, bool done, bool current, QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int const number;
    bool const done;
    bool const current;
};

/// How far the person is. Thread: main.
class ProgressLine final : public QWidget {
public:
    /// fraction  from 0 to 1; anything else is clamped
    ProgressLine(double fraction, QWidget* parent);
    double fraction() const { return share; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    double const share;
};

} // namespace zelvo
