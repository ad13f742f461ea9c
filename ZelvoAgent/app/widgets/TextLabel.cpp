#include "app/widgets/TextLabel.h"

#include "app/Theme.h"
#include "app/WrappedLabel.h"
#include "base/LocalizedTexts.h"

#include <QApplication>

#include <cstdint>

namespace zelvo {

namespace {

QFont fontOf(TextLabel::Size size)
{
    switch (size) {
    case TextLabel::Size::small:
        return Theme::smallFont();
    case TextLabel::Size::heading:
        return Theme::headingFont();
    case TextLabel::Size::title:
        return Theme::titleFont();
    case TextLabel::Size::normal:
        break;
    }
    return QApplication::font();
}

QColor colorOf(TextLabel::Tone tone, QPalette const& palette)
{
    Theme const theme(palette);
    switch (tone) {
    case TextLabel::Tone::secondary:
        return theme.secondary;
    case TextLabel::Tone::accent:
        return theme.accent;
    case TextLabel::Tone::warning:
        return theme.warning;
    case TextLabel::Tone::primary:
        break;
    }
    return palette.windowText().color();
}

} // namespace

TextLabel::TextLabel(QString const& text, Size size, Tone tone, QWidget* parent) : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    setFont(fontOf(size));
    QPalette colored = palette();
    colored.setColor(QPalette::WindowText, colorOf(tone, QApplication::palette()));
    setPalette(colored);
    setAlignment(Qt::AlignLeading | Qt::AlignTop);
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Minimum);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    setShownText(text);
}

void TextLabel::setShownText(QString const& text)
{
    if (whole == text && !QLabel::text().isNull())
        return;
    whole = text;
    setText(breakable(text));
    setAccessibleName(text);
}

QString worded(std::string_view key)
{
    return toQString(localized(key));
}

QString worded(std::string_view key, std::string const& argument)
{
    return toQString(localized(key, {argument}));
}

QString worded(std::string_view key, long long argument)
{
    return toQString(localized(key, {static_cast<std::int64_t>(argument)}));
}

QString worded(std::string_view key, long long first, long long second)
{
    return toQString(localized(key, {static_cast<std::int64_t>(first), static_cast<std::int64_t>(second)}));
}

QString toQString(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace zelvo
