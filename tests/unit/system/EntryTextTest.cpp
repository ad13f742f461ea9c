#include "platform/linux/applications/EntryText.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

constexpr std::string_view packaged = "[Desktop Entry]\nType=Application\nName=Zelvo\nExec=zelvo-agent %u\n"
                                      "MimeType=x-scheme-handler/zelvo;\n";

TEST(EntryText, startsTheProgramWithALink)
{
    EXPECT_EQ(EntryText::forMenu(packaged, "/home/ann/.local/share/zelvo-agent/zelvo-agent"),
              "[Desktop Entry]\nType=Application\nName=Zelvo\n"
              "TryExec=/home/ann/.local/share/zelvo-agent/zelvo-agent\n"
              "Exec=\"/home/ann/.local/share/zelvo-agent/zelvo-agent\" %u\n"
              "MimeType=x-scheme-handler/zelvo;\n");
}

TEST(EntryText, startsTheProgramWithTheSessionWithoutOne)
{
    EXPECT_NE(EntryText::forAutostart(packaged, "/bin/zelvo-agent").find("\nExec=\"/bin/zelvo-agent\"\n"),
              std::string::npos);
}

TEST(EntryText, escapesAPathTwiceInTheCommand)
{
    std::string const text = EntryText::forAutostart(packaged, "/a b/100%/$x`\"\\/zelvo-agent");

    EXPECT_NE(text.find(R"(Exec="/a b/100%%/\\$x\\`\\"\\\\/zelvo-agent")"
                        "\n"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find(R"(TryExec=/a b/100%/$x`"\\/zelvo-agent)"
                        "\n"),
              std::string::npos)
        << text;
}

TEST(EntryText, keepsALineEndInAPathFromAddingAKey)
{
    std::string const text = EntryText::forMenu(packaged, "/tmp/x\nHidden=true\n/zelvo-agent");

    EXPECT_FALSE(EntryText::isSwitchedOff(text)) << text;
    EXPECT_EQ(text.find("\nHidden"), std::string::npos) << text;
}

TEST(EntryText, knowsAnEntryThatIsSwitchedOff)
{
    EXPECT_TRUE(EntryText::isSwitchedOff("[Desktop Entry]\nHidden=true\n"));
    EXPECT_TRUE(EntryText::isSwitchedOff("[Desktop Entry]\nX-GNOME-Autostart-enabled=false"));
    EXPECT_FALSE(EntryText::isSwitchedOff(packaged));
    EXPECT_FALSE(EntryText::isSwitchedOff("[Desktop Entry]\nHidden=false\n"));
    EXPECT_FALSE(EntryText::isSwitchedOff(""));
}

} // namespace
} // namespace zelvo
