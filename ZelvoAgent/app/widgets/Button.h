#pragma once

#include <QPushButton>

#include <functional>
#include <string>
#include <string_view>

namespace zelvo {

/// A push button in this program's look. Its label wraps where it does not fit on a line, so that no language
/// is cut. Thread: main.
class Button final : public QPushButton {
public:
    enum class Kind {
        primary,   ///< the one thing to do next; at most one in a view
        secondary, ///< anything else
        link,      ///< text alone, in the accent colour
        chip,      ///< one of several filters; filled while checked
    };

    Button(QString const& label, Kind kind, QWidget* parent);

    void setLabel(QString const& label);
    /// The label without a mark for its mnemonic.
    QString const& label() const { return plain; }
    /// Lets Alt and the letter at this place of the label press the button.
    void setMnemonic(qsizetype place);
    /// Connects a press.
    Button* onPressed(std::function<void()> call);
    /// A symbol before the label; "" for none. See Symbol.h for the names.
    void setSymbol(std::string_view name);
    /// A short text at the end of the button, in small letters.
    void setTrailingText(QString const& text);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    int side() const;
    int sides() const;
    int widestWord() const;
    int trailingWidth() const;
    /// Whether the trailing text goes below the label, because a line has no room for both.
    bool stacks(int width) const;
    void drawFrame(QPainter& painter) const;
    QColor letterColor() const;
    QColor groundColor() const;
    QColor lineColor() const;

    Kind const kind;
    QString plain;
    std::string symbol;
    QString trailing;
};

} // namespace zelvo
