#pragma once

#include <QBasicTimer>
#include <QElapsedTimer>
#include <QProgressBar>

#include <optional>

namespace zelvo {

/// How far something is, as a thin line. Thread: main.
class ProgressLine final : public QProgressBar {
public:
    /// name  what makes progress, for screen readers
    ProgressLine(QString const& name, QWidget* parent);

    /// fraction  from 0 to 1, anything else is clamped; `nullopt`: it takes a while, and a piece of the line
    ///           moves unless the desktop has animations off
    void setFraction(std::optional<double> fraction);
    /// From 0 to 1; -1 while it is unknown.
    double fraction() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    bool isUnknown() const { return minimum() == maximum(); }
    void animate();
    QRectF filled() const;

    QBasicTimer frames;
    QElapsedTimer sinceStart;
};

} // namespace zelvo
