#include "end_to_end/TasksFixture.h"

namespace zelvo::test {
namespace {

namespace fs = std::filesystem;

TEST_F(Tasks, writesATextAndSavesItByTheEditorsDialog)
{
    fs::path const folder = desktop.home() / "texts";
    fs::create_directories(folder);
    repeat([&](int round) {
        std::string const text = "Bread, butter and " + std::to_string(round) + " eggs";
        fs::path const file = folder / ("list" + std::to_string(round) + ".txt");
        writeText(text, file);
        EXPECT_EQ(contentOf(file), text);
    });
}

TEST_F(Tasks, calculates)
{
    done("app_open", {{"app", "galculator"}});
    repeat([&](int round) {
        done("desktop_see", {{"interactiveOnly", false}});
        json::array keys;
        for (char const digit : std::to_string(round))
            keys.push_back(click(ref("checkbox", std::string(1, digit))));
        keys.push_back(click(ref("checkbox", "*")));
        keys.push_back(click(ref("checkbox", "7")));
        keys.push_back(click(ref("checkbox", "=")));
        act(std::move(keys));
        act({key({"ctrl", "c"})});
        std::string const result = "\n" + std::to_string(7 * round) + "\n";
        EXPECT_NE(done("clipboard_read", {}).text.find(result), std::string::npos);
    });
}

} // namespace
} // namespace zelvo::test
