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

/// A calculator, whose buttons act when the mouse is released over them.
class HeldButton : public Tasks {
protected:
    void SetUp() override
    {
        Tasks::SetUp();
        done("app_open", {{"app", "galculator"}});
        done("desktop_see", {{"interactiveOnly", false}});
    }
    /// Copies what it shows until that is `wanted`.
    bool shows(std::string const& wanted)
    {
        return waitFor([&] {
            act({key({"ctrl", "c"})});
            return done("clipboard_read", {}).text.find("\n" + wanted + "\n") != std::string::npos;
        });
    }
};

TEST_F(HeldButton, isReleasedWhenAnActionFails)
{
    std::string const seven = ref("checkbox", "7");

    Told const told =
        call("desktop_act",
             {{"actions",
               {mouse("mouse_down", seven), click("nobody"), {{"type", "mouse_up"}, {"x", 1}, {"y", 1}}}}});

    EXPECT_TRUE(told.isError);
    EXPECT_NE(told.text.find("Done: action 0."), std::string::npos) << told.text;
    EXPECT_TRUE(shows("7")) << transcript;
}

TEST_F(HeldButton, isReleasedWhenItsClientVanishes)
{
    std::string const eight = ref("checkbox", "8");

    callAndVanish("desktop_act",
                  {{"actions",
                    {mouse("mouse_down", eight),
                     {{"type", "wait"}, {"ms", 5000}},
                     {{"type", "mouse_up"}, {"x", 1}, {"y", 1}}}}},
                  3);

    EXPECT_TRUE(shows("8")) << transcript;
}

} // namespace
} // namespace zelvo::test
