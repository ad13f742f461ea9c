// What our reader sees of a word processor that embeds its own elements in a toolkit's.
#include "desktop/atspi/TreeComparison.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <sstream>

namespace zelvo::test {
namespace {

using testing::IsSupersetOf;

class Writer : public TreeComparison {
protected:
    Subject subject;

    void SetUp() override
    {
        auto const letter = desktop.home() / "letter.txt";
        std::ofstream(letter) << "Dear reader,\nthis is it.\n";
        subject = {.name = "Writer", .application = writer(desktop, letter)};
        desktop.start(subject.application.command);
        auto const window = desktop.waitForWindow(subject.application.window, 60s);
        pid = std::stoi(desktop.run({"xdotool", "getwindowpid", std::to_string(window)}));
    }

    /// The titles of the elements with this role that are on the screen; for paragraphs, their text.
    static std::vector<std::string> shown(std::vector<WalkedElement> const& all, std::string const& role)
    {
        std::vector<std::string> titles;
        for (WalkedElement const& one : all)
            if (one.role == role && one.size)
                titles.push_back(one.title.value_or(one.value.value_or("")));
        return titles;
    }

    /// Clicks the centre of the element with this name as soon as it exists.
    void click(std::string const& role, std::string const& called)
    {
        DesktopPoint center;
        require(called, [&] {
            for (WalkedElement const& one : ours(false))
                if (one.role == role && one.size && one.title.value_or(one.value.value_or("")) == called) {
                    center = {one.position->x + one.size->width / 2, one.position->y + one.size->height / 2};
                    return true;
                }
            return false;
        });
        desktop.run({"xdotool", "mousemove", std::to_string(static_cast<int>(center.x)),
                     std::to_string(static_cast<int>(center.y)), "click", "1"});
    }

    /// Does the other reader see an element with this name or text and this state?
    bool isNow(std::string const& state, std::string const& named)
    {
        std::istringstream lines(readShownElements(desktop, pid));
        for (std::string line; std::getline(lines, line);)
            if (line.find(named) != std::string::npos && line.find('"' + state + '"') != std::string::npos)
                return true;
        return false;
    }
    bool comesToBe(std::string const& state, std::string const& named)
    {
        return waitFor([&] { return isNow(state, named); }, 20s);
    }
};

TEST_F(Writer, hasTheSameElementsForBothReaders)
{
    expectSameOfShown(subject);

    auto const all = ours(false);
    EXPECT_THAT(shown(all, "AXMenuItem"), IsSupersetOf({"File", "Edit", "Format", "Help"}));
    EXPECT_THAT(shown(all, "AXButton"), IsSupersetOf({"Open", "Print", "Cut", "Paste"}));
    EXPECT_THAT(shown(all, "AXCheckBox"), IsSupersetOf({"Bold", "Italic", "Center"}));
    EXPECT_THAT(shown(all, "AXStaticText"), IsSupersetOf({"Dear reader,", "this is it."}));
}

TEST_F(Writer, takesAClickAtTheCentreOfAnElement)
{
    ASSERT_FALSE(isNow("checked", R"("name": "Bold")"));
    click("AXCheckBox", "Bold");
    EXPECT_TRUE(comesToBe("checked", R"("name": "Bold")"));

    ASSERT_FALSE(isNow("focused", R"("text": "this is it.")"));
    click("AXStaticText", "this is it.");
    EXPECT_TRUE(comesToBe("focused", R"("text": "this is it.")"));
}

} // namespace
} // namespace zelvo::test
