#pragma once

#include "app/widgets/TextLabel.h"

#include <QWidget>

#include <string_view>

class QVBoxLayout;

namespace zelvo {

class Card;

/// A titled group of the diagnostics window. Thread: main.
class DiagnosticsSection : public QWidget {
public:
    DiagnosticsSection(std::string_view title, QWidget* parent);

    virtual void refresh() {}

protected:
    QVBoxLayout& column();
    /// A name at the left and its value, which may be selected, at the right.
    TextLabel* addLine(std::string_view name);
    TextLabel* addText(QString const& text, TextLabel::Size size, TextLabel::Tone tone);
    void addHint(std::string_view key);

private:
    Card* card;
};

} // namespace zelvo
