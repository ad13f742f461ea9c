#include "end_to_end/wayland/WaylandFixture.h"

namespace zelvo::test {
namespace {

/// What an agent does all day, on each desktop.
class WaylandTask : public OnWayland {
protected:
    void begin()
    {
        startUnattended();
        writer = openWriter("letter", shown);
        waitForFront("letter");
    }
    /// What the field holds.
    std::string letter()
    {
        json::object const tree = treeWith("AXTextField", "Letter");
        return read::text(*find(tree, "AXTextField", "Letter"), "value").value_or("");
    }
    bool becomes(std::string const& text)
    {
        return waitFor([&] { return letter() == text; });
    }

    pid_t writer = 0;
};

TEST_P(WaylandTask, clicksAButtonByPointAndByElement)
{
    begin();

    EXPECT_EQ(perform({clickOn("AXButton", "Print")}), "ok");
    EXPECT_TRUE(says(writer, "release 1\nclicked Print\n")) << said(writer);

    json::object const tree = treeWith("AXButton", "Send");
    json::object const element{{"type", "click_element"},
                               {"snapshotId", tree.at("snapshotId")},
                               {"elementId", find(tree, "AXButton", "Send")->at("id")}};
    EXPECT_EQ(perform({element}), "ok");
    EXPECT_TRUE(says(writer, "clicked Send\n")) << said(writer);
}

TEST_P(WaylandTask, typesAnyScriptAndReadsItBack)
{
    begin();
    std::string const text = "Hello Привет 世界 😀";

    EXPECT_EQ(perform({clickOn("AXTextField", "Letter"), typing(text)}), "ok");

    EXPECT_TRUE(becomes(text)) << letter() << "\n" << said(writer);
}

TEST_P(WaylandTask, copiesAndPastes)
{
    begin();
    std::string const text = "kept Привет 世界 😀";

    EXPECT_EQ(failureOf("clipboard.set", {{"text", text}}), "ok");
    EXPECT_EQ(resultOf("clipboard.get").at("text").as_string(), text);
    json::object const paste{{"type", "key"}, {"keys", json::array{"ctrl", "v"}}};
    EXPECT_EQ(perform({clickOn("AXTextField", "Letter"), paste}), "ok");

    EXPECT_TRUE(becomes(text)) << letter() << "\n" << said(writer);
}

TEST_P(WaylandTask, seesColorsWhereTheTreeSaysTheyAre)
{
    begin();
    PaintedArea const paint = placeOf("AXButton", "Paint");
    PaintedArea const field = placeOf("AXTextField", "Letter");

    EXPECT_EQ(resultOf("screen.settle", {{"timeoutMs", 10000}}).at("settled"), true);
    Pixels const seen = picture();

    ASSERT_EQ(seen.width, WaylandMachine::width);
    ASSERT_EQ(seen.height, WaylandMachine::height);
    for (int const x : {paint.x + 2, paint.x + paint.width - 3})
        for (int const y : {paint.y + 2, paint.y + paint.height - 3})
            EXPECT_EQ(pixelAt(seen, x, y), shown) << x << ", " << y;
    EXPECT_NE(pixelAt(seen, field.x + field.width / 2, field.y + field.height / 2), shown);
}

INSTANTIATE_TEST_SUITE_P(,
                         WaylandTask,
                         testing::Values(Compositor::sway, Compositor::kwin, Compositor::gnome),
                         nameOfCompositor);

} // namespace
} // namespace zelvo::test
