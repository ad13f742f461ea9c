#include "end_to_end/TasksFixture.h"

namespace zelvo::test {
namespace {

namespace fs = std::filesystem;

TEST_F(Tasks, renamesAFileInAFileManager)
{
    fs::path const folder = desktop.home() / "papers";
    fs::create_directories(folder);
    std::ofstream(folder / "name0.txt") << "letter";
    desktop.start({"thunar", folder.string()});
    desktop.waitForWindow({.title = "papers"}, 60s);
    done("desktop_act", {{"actions", {key({"ctrl", "2"})}}}); // A list: the icons have no elements.
    repeat([&](int round) {
        std::string const before = "name" + std::to_string(round - 1) + ".txt";
        std::string const after = "name" + std::to_string(round) + ".txt";
        done("desktop_see", {{"interactiveOnly", false}});
        act({click(ref("cell", before)), key({"f2"})});
        act({key({"ctrl", "a"}), type(after), key({"return"})});
        EXPECT_TRUE(fs::exists(folder / after));
        EXPECT_FALSE(fs::exists(folder / before));
    });
}

} // namespace
} // namespace zelvo::test
