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

} // namespace zelvo
