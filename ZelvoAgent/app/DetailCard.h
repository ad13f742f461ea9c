#pragma once

#include <QFrame>
#include <QStringList>

class QPalette;

namespace zelvo {

class DetailView;
class WrappedLabel;

/// A framed part of a question: lines that scroll beyond a height, a caption above them, and a note while
/// there is more below. Thread: main.
class DetailCard final : public QFrame {
public:
    struct Contents {
        QString caption; ///< empty for none
        QStringList lines;
        bool isWarning = false; ///< draws caption and frame in the warning colour
    };
    /// width, highest  points: of the whole card, and of its lines
    DetailCard(Contents contents, QFont const& font, int width, int highest, QWidget* parent);

    DetailView& detail() { return *view; }
    void paintIn(QPalette const& palette);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void showMoreBelow();

    bool const isWarning;
    WrappedLabel* caption = nullptr; // Null without a caption.
    DetailView* view = nullptr;
    WrappedLabel* moreBelow = nullptr;
};

} // namespace zelvo
