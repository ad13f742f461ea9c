#include "platform/linux/x11/input/DesktopSettings.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zelvo {
namespace {

/// Writes settings as a settings manager does.
class Settings {
public:
    explicit Settings(bool big) : big(big)
    {
        bytes = {static_cast<std::uint8_t>(big), 0, 0, 0};
        add(7, 4);
        add(0, 4);
    }

    Settings& integer(std::string const& name, std::uint32_t value)
    {
        head(0, name);
        add(value, 4);
        return *this;
    }
    Settings& text(std::string const& name, std::string const& value)
    {
        head(1, name);
        add(static_cast<std::uint32_t>(value.size()), 4);
        padded(value);
        return *this;
    }
    Settings& color(std::string const& name)
    {
        head(2, name);
        add(0, 4);
        add(0, 4);
        return *this;
    }

    std::vector<std::uint8_t> bytes;

private:
    void head(std::uint8_t type, std::string const& name)
    {
        ++count;
        bytes[big ? 11 : 8] = count;
        bytes.push_back(type);
        bytes.push_back(0);
        add(static_cast<std::uint32_t>(name.size()), 2);
        padded(name);
        add(0, 4);
    }
    void add(std::uint32_t value, int size)
    {
        for (int at = 0; at < size; ++at)
            bytes.push_back(static_cast<std::uint8_t>(value >> (8 * (big ? size - 1 - at : at))));
    }
    void padded(std::string const& text)
    {
        bytes.insert(bytes.end(), text.begin(), text.end());
        while (bytes.size() % 4 != 0)
            bytes.push_back(0);
    }

    bool big;
    std::uint8_t count = 0;
};

std::vector<std::uint8_t> usual(bool big)
{
    return Settings(big)
        .text("Net/ThemeName", "Adwaita")
        .color("Net/Color")
        .integer("Net/DoubleClickTime", 317)
        .integer("Xft/DPI", 98304)
        .bytes;
}

TEST(DesktopSettings, readsANumberInBothByteOrders)
{
    EXPECT_EQ(integerSetting(usual(false), "Net/DoubleClickTime"), 317);
    EXPECT_EQ(integerSetting(usual(true), "Net/DoubleClickTime"), 317);
    EXPECT_EQ(integerSetting(usual(true), "Xft/DPI"), 98304);
}

TEST(DesktopSettings, doesNotFindWhatIsNotThereOrNoNumber)
{
    EXPECT_EQ(integerSetting(usual(false), "Net/DoubleClick"), std::nullopt);
    EXPECT_EQ(integerSetting(usual(false), "Net/ThemeName"), std::nullopt);
    EXPECT_EQ(integerSetting({}, "Net/DoubleClickTime"), std::nullopt);
}

TEST(DesktopSettings, survivesDamagedBytes)
{
    std::vector<std::uint8_t> const whole = usual(false);
    std::size_t const end = whole.size() - 4 - 4 - 8 - 4; // Where the number that is looked for ends.

    for (std::size_t length = 0; length < end; ++length)
        EXPECT_EQ(integerSetting(std::span(whole).first(length), "Net/DoubleClickTime"), std::nullopt);
    for (std::size_t at = 0; at < whole.size(); ++at) {
        std::vector<std::uint8_t> damaged = whole;
        damaged[at] = 0xFF;
        integerSetting(damaged, "Net/DoubleClickTime");
    }
}

} // namespace
} // namespace zelvo
