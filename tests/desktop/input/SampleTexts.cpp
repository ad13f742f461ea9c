#include "desktop/input/SampleTexts.h"

namespace zelvo::test {

namespace {

std::string utf8(char32_t character)
{
    if (character < 0x80)
        return {static_cast<char>(character)};
    std::string bytes;
    int const further = 1 + (character >= 0x800) + (character >= 0x10000);
    bytes += static_cast<char>((0xF0 << (3 - further) & 0xFF) | character >> (6 * further));
    for (int at = further - 1; at >= 0; --at)
        bytes += static_cast<char>(0x80 | (character >> (6 * at) & 0x3F));
    return bytes;
}

} // namespace

std::vector<std::string> sampleTexts()
{
    return {
        "The quick brown fox, 0123456789; it's \"quoted\" (a+b)*c/d = ~50% #1 @home & [x]{y}|z\\ <t>^`_$!?\n",
        "Съешь же ещё этих мягких французских булок, да выпей ЧАЮ. Ґанок їжака є.\n",
        "Zażółć gęślą jaźń, Grüße, ÆØÅ, naïve café, İıŞş, ß, €, «цитата»…\n",
        "我能吞下玻璃而不伤身体。日本語の文章です。ひらがなカタカナ\n",
        "안녕하세요 세계, 한글을 씁니다\n",
        "שלום עולם مرحبا بالعالم हिन्दी ไทย ελληνικά\n",
        "😀👍🏽👩‍👩‍👧‍👦🏳️‍🌈❤️🇩🇪🇯🇵🏴󠁧󠁢󠁥󠁮󠁧"
        "󠁿"
        "☕"
        "️"
        "\n",
        "one\ttab\n\nand empty lines\n",
    };
}

std::string mixedText()
{
    return "aA zZ 1!9( яЯ фФ жЖ ёЁ éÉ üÜ ßẞ 漢字 한국 😀👩‍👩‍👧‍👦 "
           "<>[]{}'\"@#$%^&*";
}

std::string longText()
{
    // 58 ASCII characters, then 72 others, each further on than the last, so that no stretch is easy.
    std::vector<char32_t> characters;
    for (char32_t character = U'A'; character < U'A' + 58; ++character)
        characters.push_back(character);
    for (char32_t character = 0x430; character < 0x430 + 24; ++character)
        characters.push_back(character);
    for (char32_t character = 0x4E00; character < 0x4E00 + 24; ++character)
        characters.push_back(character);
    for (char32_t character = 0xAC00; character < 0xAC00 + 24; ++character)
        characters.push_back(character);
    std::string text;
    for (std::size_t at = 0; at < 1000; ++at)
        text += utf8(characters[(at * 37 + at / 130) % characters.size()]);
    return text;
}

std::string crowdedText()
{
    constexpr char32_t letters = 0x430;
    constexpr char32_t selectors = 0xE0100; // Each belongs to the character before it.
    std::string text;
    for (char32_t at = 0; at < 20; ++at) {
        text += utf8(letters + at);
        for (char32_t selector = 0; selector < 7; ++selector)
            text += utf8(selectors + at * 7 + selector);
    }
    return text;
}

std::string fieldName(FieldKind kind)
{
    switch (kind) {
    case FieldKind::gtk:
        return "Gtk";
    case FieldKind::qt:
        return "Qt";
    case FieldKind::xterm:
        return "Xterm";
    case FieldKind::chromium:
        return "Chromium";
    }
    return "Other";
}

std::vector<FieldKind> fieldKinds()
{
#ifdef ZELVO_TEST_CHROMIUM
    return {FieldKind::chromium};
#else
    return {FieldKind::gtk, FieldKind::qt, FieldKind::xterm};
#endif
}

std::vector<FieldKind> clickableKinds()
{
    std::vector<FieldKind> kinds = fieldKinds();
    std::erase(kinds, FieldKind::xterm);
    return kinds;
}

} // namespace zelvo::test
