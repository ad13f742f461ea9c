#include "drivers/InputAction.h"

#include "fakes/ErrorOf.h"

#include <gtest/gtest.h>

#include <limits>

namespace zelvo {
namespace {

InputAction parse(std::string_view text)
{
    return InputAction::parse(parseJson(text)->as_object());
}

template <class Kind>
Kind parsed(std::string_view text)
{
    return std::get<Kind>(parse(text).value);
}

void expectInvalid(std::string_view text)
{
    EXPECT_EQ(errorOf([&] { parse(text); }), AgentError::invalidRequest) << text;
}

TEST(InputAction, readsEveryTypeWithAllItsEntries)
{
    EXPECT_EQ(parsed<InputAction::Move>(R"({"type":"move","x":1.5,"y":-2})"), (InputAction::Move{{1.5, -2}}));
    EXPECT_EQ(parsed<InputAction::Click>(
                  R"({"type":"click","x":1,"y":2,"button":"right","count":2,"modifiers":["cmd","shift"]})"),
              (InputAction::Click{{1, 2}, MouseButton::right, 2, {Modifier::cmd, Modifier::shift}}));
    EXPECT_EQ(parsed<InputAction::MouseDown>(R"({"type":"mouse_down","x":1,"y":2,"button":"middle"})"),
              (InputAction::MouseDown{{1, 2}, MouseButton::middle}));
    EXPECT_EQ(parsed<InputAction::MouseUp>(R"({"type":"mouse_up","x":1,"y":2,"button":"right"})"),
              (InputAction::MouseUp{{1, 2}, MouseButton::right}));
    EXPECT_EQ(
        parsed<InputAction::Drag>(
            R"({"type":"drag","from":{"x":1,"y":2},"to":{"x":3,"y":4},"button":"middle","durationMs":50})"),
        (InputAction::Drag{{1, 2}, {3, 4}, MouseButton::middle, 50}));
    EXPECT_EQ(parsed<InputAction::Scroll>(R"({"type":"scroll","x":1,"y":2,"dx":-3.5,"dy":4})"),
              (InputAction::Scroll{{1, 2}, -3.5, 4}));
    EXPECT_EQ(parsed<InputAction::Type>(R"({"type":"type","text":"héllo"})"), (InputAction::Type{"héllo"}));
    EXPECT_EQ(parsed<InputAction::Key>(R"({"type":"key","keys":["cmd","A"]})"),
              (InputAction::Key{{"cmd", "A"}}));
    EXPECT_EQ(parsed<InputAction::Wait>(R"({"type":"wait","ms":20})"), (InputAction::Wait{20}));
    EXPECT_EQ(
        parsed<InputAction::ClickElement>(R"({"type":"click_element","snapshotId":"s","elementId":"e"})"),
        (InputAction::ClickElement{"s", "e"}));
    EXPECT_EQ(
        parsed<InputAction::SetValue>(R"({"type":"set_value","snapshotId":"s","elementId":"e","text":"t"})"),
        (InputAction::SetValue{"s", "e", "t"}));
}

TEST(InputAction, takesDefaultsForMissingOptionalEntries)
{
    EXPECT_EQ(parsed<InputAction::Click>(R"({"type":"click","x":1,"y":2})"),
              (InputAction::Click{{1, 2}, MouseButton::left, 1, {}}));
    EXPECT_EQ(parsed<InputAction::MouseDown>(R"({"type":"mouse_down","x":1,"y":2})").button,
              MouseButton::left);
    EXPECT_EQ(parsed<InputAction::MouseUp>(R"({"type":"mouse_up","x":1,"y":2})").button, MouseButton::left);
    EXPECT_EQ(parsed<InputAction::Drag>(R"({"type":"drag","from":{"x":1,"y":2},"to":{"x":3,"y":4}})"),
              (InputAction::Drag{{1, 2}, {3, 4}, MouseButton::left, 300}));
    EXPECT_EQ(parsed<InputAction::Scroll>(R"({"type":"scroll","x":1,"y":2})"),
              (InputAction::Scroll{{1, 2}, 0, 0}));
    EXPECT_EQ(parsed<InputAction::Wait>(R"({"type":"wait"})").ms, 0);
}

TEST(InputAction, takesDefaultsForOptionalEntriesOfTheWrongKind)
{
    EXPECT_EQ(parsed<InputAction::Click>(
                  R"({"type":"click","x":1,"y":2,"button":1,"count":"2","modifiers":"cmd"})"),
              (InputAction::Click{{1, 2}, MouseButton::left, 1, {}}));
    EXPECT_EQ(parsed<InputAction::Click>(R"({"type":"click","x":1,"y":2,"count":2.5})").count, 1);
    EXPECT_EQ(parsed<InputAction::Click>(R"({"type":"click","x":1,"y":2,"count":true})").count, 1);
    EXPECT_EQ(parsed<InputAction::Drag>(
                  R"({"type":"drag","from":{"x":1,"y":2},"to":{"x":3,"y":4},"durationMs":null})")
                  .durationMs,
              300);
    EXPECT_EQ(parsed<InputAction::Scroll>(R"({"type":"scroll","x":1,"y":2,"dx":"3","dy":false})"),
              (InputAction::Scroll{{1, 2}, 0, 0}));
    EXPECT_EQ(parsed<InputAction::Wait>(R"({"type":"wait","ms":"20"})").ms, 0);
}

TEST(InputAction, takesANumberWithoutAFractionForAnInteger)
{
    EXPECT_EQ(parsed<InputAction::Click>(R"({"type":"click","x":1,"y":2,"count":2.0})").count, 2);
    EXPECT_EQ(parsed<InputAction::Wait>(R"({"type":"wait","ms":5e2})").ms, 500);
}

TEST(InputAction, takesAnUnknownButtonForTheLeftOne)
{
    EXPECT_EQ(parsed<InputAction::Click>(R"({"type":"click","x":1,"y":2,"button":"side"})").button,
              MouseButton::left);
    EXPECT_EQ(parsed<InputAction::Click>(R"({"type":"click","x":1,"y":2,"button":"Right"})").button,
              MouseButton::left);
}

TEST(InputAction, skipsUnknownModifiersAndKeepsTheOthersInOrder)
{
    EXPECT_EQ(
        parsed<InputAction::Click>(R"({"type":"click","x":1,"y":2,"modifiers":["cmd","hyper"]})").modifiers,
        std::vector{Modifier::cmd});
    EXPECT_EQ(parsed<InputAction::Click>(
                  R"({"type":"click","x":1,"y":2,"modifiers":["fn",7,"ctrl","CMD","alt",null,"fn"]})")
                  .modifiers,
              (std::vector{Modifier::fn, Modifier::ctrl, Modifier::alt, Modifier::fn}));
}

TEST(InputAction, refusesAMissingOrUnknownType)
{
    for (std::string_view const text :
         {"{}", R"({"x":1,"y":2})", R"({"type":1})", R"({"type":null})", R"({"type":""})",
          R"({"type":"Click","x":1,"y":2})", R"({"type":"mouseDown","x":1,"y":2})", R"({"type":"press"})"})
        expectInvalid(text);
}

TEST(InputAction, needsBothCoordinates)
{
    for (std::string const type : {"move", "click", "mouse_down", "mouse_up", "scroll"})
        for (std::string const rest : {"", R"(,"x":1)", R"(,"y":1)", R"(,"x":1,"y":"2")",
                                       R"(,"x":null,"y":2)", R"(,"x":true,"y":2)", R"(,"x":[1],"y":2)"})
            expectInvalid(R"({"type":")" + type + '"' + rest + '}');
}

TEST(InputAction, needsBothEndsOfADrag)
{
    for (std::string_view const text :
         {R"({"type":"drag"})", R"({"type":"drag","from":{"x":1,"y":2}})",
          R"({"type":"drag","to":{"x":1,"y":2}})", R"({"type":"drag","from":[1,2],"to":{"x":1,"y":2}})",
          R"({"type":"drag","from":{"x":1},"to":{"x":1,"y":2}})",
          R"({"type":"drag","from":{"x":1,"y":2},"to":{"y":2}})", R"({"type":"drag","x":1,"y":2})"})
        expectInvalid(text);
}

TEST(InputAction, needsTextsAndIdsAsTexts)
{
    for (std::string_view const text :
         {R"({"type":"type"})", R"({"type":"type","text":5})", R"({"type":"click_element","snapshotId":"s"})",
          R"({"type":"click_element","elementId":"e"})",
          R"({"type":"click_element","snapshotId":1,"elementId":"e"})",
          R"({"type":"set_value","snapshotId":"s","elementId":"e"})",
          R"({"type":"set_value","snapshotId":"s","text":"t"})",
          R"({"type":"set_value","snapshotId":"s","elementId":"e","text":null})"})
        expectInvalid(text);
}

TEST(InputAction, needsAtLeastOneKeyAndOnlyTexts)
{
    for (std::string_view const text :
         {R"({"type":"key"})", R"({"type":"key","keys":[]})", R"({"type":"key","keys":"a"})",
          R"({"type":"key","keys":["cmd",1]})", R"({"type":"key","keys":[null]})"})
        expectInvalid(text);

    EXPECT_EQ(parsed<InputAction::Key>(R"({"type":"key","keys":["cmd"]})").keys,
              std::vector<std::string>{"cmd"});
}

TEST(InputAction, limitsNoNumber)
{
    EXPECT_EQ(parsed<InputAction::Wait>(R"({"type":"wait","ms":-5})").ms, -5);
    EXPECT_EQ(parsed<InputAction::Click>(R"({"type":"click","x":1,"y":2,"count":9223372036854775807})").count,
              std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(parsed<InputAction::Move>(R"({"type":"move","x":1e300,"y":-9223372036854775808})"),
              (InputAction::Move{{1e300, -0x1p63}}));
    EXPECT_EQ(parsed<InputAction::Scroll>(R"({"type":"scroll","x":0,"y":0,"dy":1e308})").dy, 1e308);
    EXPECT_EQ(parsed<InputAction::Type>(R"({"type":"type","text":""})").text, "");
}

TEST(InputAction, passesOverEntriesThatTheTypeDoesNotHave)
{
    EXPECT_EQ(parsed<InputAction::Move>(R"({"type":"move","x":1,"y":2,"text":5,"from":[],"z":{}})"),
              (InputAction::Move{{1, 2}}));
}

TEST(InputAction, hasATargetPointForWhatTouchesTheScreen)
{
    DesktopPoint const there{1, 2};
    EXPECT_EQ(InputAction{InputAction::Move{there}}.targetPoint(), there);
    EXPECT_EQ(InputAction{InputAction::Click{there}}.targetPoint(), there);
    EXPECT_EQ(InputAction{InputAction::MouseDown{there}}.targetPoint(), there);
    EXPECT_EQ(InputAction{InputAction::MouseUp{there}}.targetPoint(), there);
    EXPECT_EQ(InputAction{InputAction::Scroll{there}}.targetPoint(), there);
    EXPECT_EQ((InputAction{InputAction::Drag{there, {3, 4}}}.targetPoint()), there);

    EXPECT_FALSE(InputAction{InputAction::Type{"a"}}.targetPoint());
    EXPECT_FALSE(InputAction{InputAction::Key{{"a"}}}.targetPoint());
    EXPECT_FALSE(InputAction{InputAction::Wait{1}}.targetPoint());
    EXPECT_FALSE((InputAction{InputAction::ClickElement{"s", "e"}}.targetPoint()));
    EXPECT_FALSE((InputAction{InputAction::SetValue{"s", "e", "t"}}.targetPoint()));
}

TEST(InputAction, isTextInputForTypeKeyAndSetValueOnly)
{
    EXPECT_TRUE(InputAction{InputAction::Type{"a"}}.isTextInput());
    EXPECT_TRUE(InputAction{InputAction::Key{{"a"}}}.isTextInput());
    EXPECT_TRUE((InputAction{InputAction::SetValue{"s", "e", "t"}}.isTextInput()));

    EXPECT_FALSE(InputAction{InputAction::Move{}}.isTextInput());
    EXPECT_FALSE(InputAction{InputAction::Click{}}.isTextInput());
    EXPECT_FALSE(InputAction{InputAction::MouseDown{}}.isTextInput());
    EXPECT_FALSE(InputAction{InputAction::MouseUp{}}.isTextInput());
    EXPECT_FALSE(InputAction{InputAction::Drag{}}.isTextInput());
    EXPECT_FALSE(InputAction{InputAction::Scroll{}}.isTextInput());
    EXPECT_FALSE(InputAction{InputAction::Wait{}}.isTextInput());
    EXPECT_FALSE((InputAction{InputAction::ClickElement{"s", "e"}}.isTextInput()));
}

TEST(MouseButton, hasTheWireTexts)
{
    EXPECT_EQ(rawValue(MouseButton::left), "left");
    EXPECT_EQ(rawValue(MouseButton::right), "right");
    EXPECT_EQ(rawValue(MouseButton::middle), "middle");
}

TEST(Modifier, hasTheWireTexts)
{
    EXPECT_EQ(rawValue(Modifier::cmd), "cmd");
    EXPECT_EQ(rawValue(Modifier::shift), "shift");
    EXPECT_EQ(rawValue(Modifier::alt), "alt");
    EXPECT_EQ(rawValue(Modifier::ctrl), "ctrl");
    EXPECT_EQ(rawValue(Modifier::fn), "fn");
}

} // namespace
} // namespace zelvo
