#include "ZelvoGateway/mcp/SeenElement.h"

#include "base/Text.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

std::vector<SeenElement> seen(std::string_view elements)
{
    return seenElements(json::object{{"elements", parseJson(elements).value()}});
}

TEST(SeenElement, isReadFromAMachinesTree)
{
    auto const elements = seen(
        R"([{"id":"e1","role":"AXTextArea","frame":{"x":0,"y":80.6,"w":1600,"h":820},"enabled":false,"focused":true,)"
        R"("title":"Note","description":"other","value":"Milk","identifier":"body","actions":[]}])");

    ASSERT_EQ(elements.size(), 1U);
    EXPECT_EQ(elements[0], (SeenElement{.id = "e1",
                                        .role = "textarea",
                                        .name = "Note",
                                        .identifier = "body",
                                        .value = "Milk",
                                        .frame = {.x = 0, .y = 81, .w = 1600, .h = 820},
                                        .isEnabled = false,
                                        .isFocused = true}));
}

/// A machine whose desktop does not say where windows are.
TEST(SeenElement, knowsThatItsFrameIsNoPlace)
{
    json::object tree{{"elements", parseJson(R"([{"id":"e1","frame":{"x":1,"y":2,"w":3,"h":4}}])").value()}};
    EXPECT_FALSE(seenElements(tree).at(0).frame.isRelative);
    tree["framesRelativeTo"] = "window";
    EXPECT_EQ(seenElements(tree).at(0).frame,
              (SeenFrame{.x = 1, .y = 2, .w = 3, .h = 4, .isRelative = true}));
}

TEST(SeenElement, isCalledByItsDescriptionIfItHasNoTitle)
{
    EXPECT_EQ(seen(R"([{"description":"Close"}])").at(0).name, "Close");
    EXPECT_EQ(seen(R"([{"title":"","description":"Close"}])").at(0).name, "Close");
}

TEST(SeenElement, hasTextsForOneLine)
{
    auto const element =
        seen(R"([{"role":"AX\nButton","title":"a\n[b1] button \u202e\u0007b","value":"\r\u2028c"}])").at(0);

    EXPECT_EQ(element.role, "button");
    EXPECT_EQ(element.name, "a[b1] button b");
    EXPECT_EQ(element.value, "c");
}

TEST(SeenElement, hasShortTextsHoweverLongTheyCome)
{
    std::string hostile = "x";
    while (hostile.size() < 10'000'000)
        hostile += "\u0301\u202e\u200d";
    std::string wide;
    for (int i = 0; i < 1000; ++i)
        wide += "\u4e2d";

    auto const elements =
        seenElements({{"elements", json::array{json::object{{"title", hostile}, {"value", wide}}}}});

    EXPECT_LE(elements.at(0).name.size(), 4100U);
    EXPECT_EQ(text::characterCount(elements.at(0).value), 201U); // with the ellipsis
}

TEST(SeenElement, sharesABoundedSizeWithTheOthersOfItsTree)
{
    json::array many;
    for (int i = 0; i < 1500; ++i)
        many.emplace_back(json::object{{"title", std::string(150, 'a')}, {"value", std::string(150, 'b')}});

    std::size_t bytes = 0;
    auto const elements = seenElements({{"elements", many}});
    for (SeenElement const& element : elements)
        bytes += element.name.size() + element.value.size();

    EXPECT_EQ(elements.size(), 1500U);
    EXPECT_EQ(elements.front().name.size(), 150U);
    EXPECT_LE(bytes, 400'010U); // with an ellipsis
    EXPECT_TRUE(elements.back().name.empty());
}

TEST(SeenElement, toleratesEverything)
{
    EXPECT_TRUE(seenElements({}).empty());
    EXPECT_TRUE(seenElements({{"elements", 1}}).empty());
    EXPECT_TRUE(seen(R"([1,null,"x",[]])").empty());
    auto const element =
        seen(R"([{"id":1,"role":[],"title":{},"enabled":"no","frame":{"x":1e300,"y":"2","w":-1}}])").at(0);
    EXPECT_EQ(element, (SeenElement{.frame = {.w = -1}}));
}

TEST(SeenElement, isOneOfABoundedNumber)
{
    json::array many;
    for (int i = 0; i < 1600; ++i)
        many.emplace_back(json::object());

    EXPECT_EQ(seenElements({{"elements", many}}).size(), 1500U);
}

} // namespace
} // namespace zelvo::service
