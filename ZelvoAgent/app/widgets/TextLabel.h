#pragma once

#include <QLabel>
#include <QString>

#include <string>
#include <string_view>

namespace zelvo {

/// Plain text that wraps in the width that it gets. Foreign text is shown literally: no markup, long words
/// broken. Thread: main.
class TextLabel final : public QLabel {
public:
    enum class Size { small, normal, heading, title };
    enum class Tone { primary, secondary, accent, warning };

    TextLabel(QString const& text, Size size, Tone tone, QWidget* parent);

    void setShownText(QString const& text);
    /// The text as it was given, without the breaks that were put into long words.
    QString const& shownText() const { return whole; }

private:
    QString whole;
};

/// The text of a key as the toolkit's string.
QString worded(std::string_view key);
QString worded(std::string_view key, std::string const& argument);
QString worded(std::string_view key, long long argument);
QString worded(std::string_view key, long long first, long long second);
QString toQString(std::string_view text);

} // namespace zelvo
