#include "ZelvoGateway/mcp/tools/ComputerAction.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

std::string number(double value)
{
    return writeJson(plainNumber(value));
}

std::string textOf(std::optional<ScreenPoint> const& point)
{
    return point ? " " + number(point->x) + "," + number(point->y) : "";
}

std::string textOf(ActionRequest const& action)
{
    static constexpr std::array<std::string_view, 10> names{
        "click", "move", "drag", "scroll", "type", "key", "set_value", "mouse_down", "mouse_up", "wait"};
    std::string text(names.at(static_cast<std::size_t>(action.kind)));
    text += textOf(action.at) + (action.isAtCursor ? " cursor" : "");
    if (action.to)
        text += " to" + textOf(action.to);
    if (action.button != "left")
        text += " " + action.button;
    if (action.count != 1)
        text += " x" + std::to_string(action.count);
    if (action.dx != 0 || action.dy != 0)
        text += " by " + number(action.dx) + "," + number(action.dy);
    for (std::string const& key : action.modifiers)
        text += " +" + key;
    for (std::string const& key : action.keys)
        text += " " + key;
    return action.text.empty() ? text : text + " '" + action.text + "'";
}

/// What an action means, or why not.
std::string meaning(std::string_view action, ComputerScreen const& screen = {})
{
    try {
        ComputerStep const step = computerStep(parseJson(action).value().as_object(), screen);
        std::string text;
        for (ActionRequest const& one : step.actions)
            text += (text.empty() ? "" : "; ") + textOf(one);
        if (step.url)
            text += "open " + *step.url;
        if (step.zoom)
            text += "zoom " + std::to_string(step.zoom->x) + "," + std::to_string(step.zoom->y) + " " +
                    std::to_string(step.zoom->w) + "x" + std::to_string(step.zoom->h);
        if (step.waitMs > 0)
            text += "wait " + std::to_string(step.waitMs);
        return text + (step.asksForCursor ? "cursor" : "");
    } catch (ToolFailure const& failure) {
        return "refused: " + failure.what;
    }
}

struct Row {
    std::string_view action;
    std::string_view meaning;
};

void check(std::initializer_list<Row> table, ComputerScreen const& screen = {})
{
    for (Row const& row : table)
        EXPECT_EQ(meaning(row.action, screen), row.meaning) << row.action;
}

TEST(ComputerAction, ofTheVocabularyWithCoordinate)
{
    check({
        {R"({"action":"screenshot"})", ""},
        {R"({"action":"left_click","coordinate":[100,200]})", "click 100,200"},
        {R"({"action":"left_click","coordinate":[1,2],"text":"ctrl+shift"})", "click 1,2 +ctrl +shift"},
        {R"({"action":"left_click"})", "click cursor"},
        {R"({"action":"right_click","coordinate":[1,2]})", "click 1,2 right"},
        {R"({"action":"middle_click","coordinate":[1,2]})", "click 1,2 middle"},
        {R"({"action":"double_click","coordinate":[1,2]})", "click 1,2 x2"},
        {R"({"action":"triple_click","coordinate":[1,2]})", "click 1,2 x3"},
        {R"({"action":"mouse_move","coordinate":[1,2]})", "move 1,2"},
        {R"({"action":"left_click_drag","start_coordinate":[1,2],"coordinate":[3,4]})", "drag 1,2 to 3,4"},
        {R"({"action":"left_click_drag","coordinate":[3,4]})", "drag cursor to 3,4"},
        {R"({"action":"scroll","coordinate":[1,2],"scroll_direction":"up","scroll_amount":2})",
         "scroll 1,2 by 0,106"},
        {R"({"action":"scroll","coordinate":[1,2],"scroll_direction":"down","scroll_amount":2})",
         "scroll 1,2 by 0,-106"},
        {R"({"action":"scroll","coordinate":[1,2],"scroll_direction":"left","scroll_amount":1})",
         "scroll 1,2 by 53,0"},
        {R"({"action":"scroll","coordinate":[1,2],"scroll_direction":"right","scroll_amount":1})",
         "scroll 1,2 by -53,0"},
        {R"({"action":"scroll","scroll_direction":"down"})", "scroll cursor by 0,-159"},
        {R"({"action":"key","text":"ctrl+s"})", "key ctrl s"},
        {R"({"action":"key","text":"ctrl+a Delete"})", "key ctrl a; key forwarddelete"},
        {R"({"action":"key","text":" "})", "key space"},
        {R"({"action":"type","text":"Bread"})", "type 'Bread'"},
        {R"({"action":"wait","duration":2})", "wait 2000"},
        {R"({"action":"wait","duration":60})", "wait 5000"},
        {R"({"action":"wait","duration":-1e300})", ""},
        {R"({"action":"cursor_position"})", "cursor"},
        {R"({"action":"zoom","region":[10,20,110,70]})", "zoom 10,20 100x50"},
    });
}

TEST(ComputerAction, ofTheVocabularyWithXAndY)
{
    check({
        {R"({"type":"screenshot"})", ""},
        {R"({"type":"click","x":1,"y":2,"button":"left"})", "click 1,2"},
        {R"({"type":"click","x":1,"y":2,"button":"wheel"})", "click 1,2 middle"},
        {R"({"type":"click","x":1,"y":2,"button":"right","keys":["SHIFT"]})", "click 1,2 right +shift"},
        {R"({"type":"double_click","x":1,"y":2})", "click 1,2 x2"},
        {R"({"type":"drag","path":[{"x":1,"y":2},{"x":3,"y":4}]})", "drag 1,2 to 3,4"},
        {R"({"type":"drag","path":[[1,2],[3,4]]})", "drag 1,2 to 3,4"},
        {R"({"type":"keypress","keys":["CTRL","S"]})", "key ctrl s"},
        {R"({"type":"keypress","keys":["ENTER"]})", "key return"},
        {R"({"type":"move","x":1,"y":2})", "move 1,2"},
        {R"({"type":"scroll","x":1,"y":2,"scroll_x":0,"scroll_y":100})", "scroll 1,2 by 0,-100"},
        {R"({"type":"scroll","x":1,"y":2,"scroll_x":30,"scroll_y":-50})", "scroll 1,2 by -30,50"},
        {R"({"type":"type","text":"Bread"})", "type 'Bread'"},
        {R"({"type":"wait"})", "wait 1000"},
    });
    check({{R"({"type":"scroll","x":1,"y":2,"scroll_y":100})", "scroll 1,2 by 0,-200"}}, {.scale = 0.5});
}

TEST(ComputerAction, ofTheVocabularyThatCountsToAThousand)
{
    check({
        {R"({"action":"click_at","x":500,"y":500})", "click 720,450"},
        {R"({"action":"click_at","x":1000,"y":0})", "click 1440,0"},
        {R"({"action":"hover_at","x":100,"y":100})", "move 144,90"},
        {R"({"action":"type_text_at","x":0,"y":0,"text":"Bread"})",
         "click 0,0; key ctrl a; type 'Bread'; key return"},
        {R"({"action":"type_text_at","x":0,"y":0,"text":"a","press_enter":false,"clear_before_typing":false})",
         "click 0,0; type 'a'"},
        {R"({"action":"key_combination","keys":"Control+C"})", "key ctrl c"},
        {R"({"action":"scroll_document","direction":"down"})", "scroll 720,450 by 0,-720"},
        {R"({"action":"scroll_document","direction":"up"})", "scroll 720,450 by 0,720"},
        {R"({"action":"scroll_at","x":0,"y":1000,"direction":"right","magnitude":100})",
         "scroll 0,900 by -144,0"},
        {R"({"action":"scroll_at","x":0,"y":0,"direction":"left","magnitude":100})", "scroll 0,0 by 144,0"},
        {R"({"action":"drag_and_drop","x":0,"y":0,"destination_x":500,"destination_y":100})",
         "drag 0,0 to 720,90"},
        {R"({"action":"navigate","url":"https://example.org"})", "open https://example.org"},
        {R"({"action":"go_back"})", "key alt left"},
        {R"({"action":"go_forward"})", "key alt right"},
        {R"({"action":"wait_5_seconds"})", "wait 5000"},
    });
    check(
        {{R"({"action":"click_at","x":500,"y":500})", "click 400,300"},
         {R"({"action":"scroll_at","x":0,"y":0,"direction":"down","magnitude":100})", "scroll 0,0 by 0,-120"},
         {R"({"action":"go_back"})", "key cmd leftbracket"}},
        {.picture = {.width = 800, .height = 600}, .scale = 0.5, .os = records::MachineOS::macos});
}

TEST(ComputerAction, hasABoundedNumberOfChordsAndKeys)
{
    auto const times = [](std::size_t count, std::string_view text) {
        std::string all;
        for (std::size_t i = 0; i < count; ++i)
            all += text;
        return all;
    };
    auto const keys = [&](std::string const& text) {
        return meaning(R"({"action":"key","text":")" + text + R"("})");
    };

    EXPECT_EQ(keys(times(20, "a ")), times(19, "key a; ") + "key a");
    EXPECT_EQ(keys(times(21, "a ")), "refused: The text has more than 20 chords");
    EXPECT_EQ(keys(times(1'000'000, "a ")), "refused: The text has more than 20 chords");
    std::string const tooManyKeys = "refused: A chord has at most 8 keys";
    EXPECT_EQ(keys(times(1'000'000, "+")), tooManyKeys);
    EXPECT_EQ(keys(times(1'000, "ctrl+") + "a"), tooManyKeys);
    EXPECT_EQ(
        meaning(R"({"action":"left_click","coordinate":[1,2],"text":")" + times(1'000, "shift+") + R"("})"),
        tooManyKeys);
    EXPECT_EQ(meaning(R"({"type":"click","x":1,"y":2,"keys":["shift")" + times(1'000, R"(,"shift")") + "]}"),
              tooManyKeys);
    EXPECT_EQ(meaning(R"({"type":"keypress","keys":["a")" + times(1'000, R"(,"shift")") + "]}"), tooManyKeys);
}

TEST(ComputerAction, scrollsIfTheKeysAreEmpty)
{
    std::string const start = R"({"type":"scroll","x":1,"y":2,"scroll_y":100)";
    for (std::string_view const more :
         {R"(,"keys":null)", R"(,"keys":[])", R"(,"text":"")", R"(,"text":null)"})
        EXPECT_EQ(meaning(start + std::string(more) + "}"), "scroll 1,2 by 0,-100") << more;
    for (std::string_view const more : {R"(,"keys":["ctrl"])", R"(,"text":"ctrl")", R"(,"keys":"ctrl")"})
        EXPECT_EQ(meaning(start + std::string(more) + "}"),
                  "refused: The computer has no way to hold keys while it scrolls")
            << more;
}

TEST(ComputerAction, isRefusedHonestly)
{
    check({
        {R"({})", "refused: \"action\" is missing"},
        {R"({"action":"dance"})", "refused: The action \"dance\" is unknown"},
        {R"({"action":"left_mouse_down","coordinate":[1,2]})",
         "refused: The computer does not hold a button from one call to the next"},
        {R"({"action":"left_mouse_up","coordinate":[1,2]})",
         "refused: The computer does not hold a button from one call to the next"},
        {R"({"action":"hold_key","text":"shift","duration":1})",
         "refused: The computer has no way to hold a key"},
        {R"({"type":"drag","path":[[1,2],[3,4],[5,6]]})",
         "refused: The computer drags straight from one point to another; the path has 3 points"},
        {R"({"type":"drag","path":[[1,2]]})", "refused: The action needs path with two points"},
        {R"({"type":"click","x":1,"y":2,"button":"back"})",
         "refused: The computer has no way to press the button back"},
        {R"({"action":"left_click","coordinate":[1]})", "refused: The action needs coordinate as [x, y]"},
        {R"({"action":"left_click","coordinate":[1,2],"text":"a"})",
         "refused: Only modifiers can be held during a click, not \"a\""},
        {R"({"action":"mouse_move"})", "refused: The action needs a place"},
        {R"({"action":"scroll","coordinate":[1,2]})",
         "refused: The action needs scroll_direction, or scroll_x and scroll_y"},
        {R"({"action":"scroll","coordinate":[1,2],"scroll_direction":"in"})",
         "refused: scroll_direction must be up, down, left or right"},
        {R"({"action":"scroll","coordinate":[1,2],"scroll_direction":"up","text":"ctrl"})",
         "refused: The computer has no way to hold keys while it scrolls"},
        {R"({"action":"key"})", "refused: The action needs text"},
        {R"({"type":"keypress","keys":[]})", "refused: The action needs keys"},
        {R"({"action":"type"})", "refused: The action needs text"},
        {R"({"action":"zoom","region":[5,5,5,9]})", "refused: region is empty"},
        {R"({"action":"zoom"})", "refused: The action needs region as [x0, y0, x1, y1]"},
        {R"({"action":"click_at","x":1001,"y":1})", "refused: The action needs x and y from 0 to 1000"},
        {R"({"action":"open_web_browser"})", "refused: The computer does not know which browser is meant"},
    });
}

} // namespace
} // namespace zelvo::service
