#include "ZelvoGateway/mcp/ElementReferences.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

using Kind = ReferenceMatch::Kind;

SeenElement element(std::string role, std::string name, std::int64_t y = 0, std::string identifier = "")
{
    return {.role = std::move(role),
            .name = std::move(name),
            .identifier = std::move(identifier),
            .frame = {.y = y}};
}

/// The references of a tree in one text.
std::string named(ElementReferences& references, std::vector<SeenElement> elements)
{
    std::string list;
    for (ReferencedElement const& one : references.update(std::move(elements)))
        list += (list.empty() ? "" : " ") + one.reference;
    return list;
}

TEST(ElementReferences, sayTheKindOfAnElement)
{
    ElementReferences references;

    EXPECT_EQ(named(references,
                    {element("button", "Save"), element("textfield", "Name"), element("link", "More"),
                     element("checkbox", "All"), element("menuitem", "Quit"), element("group", "Main")}),
              "b1 t2 l3 c4 m5 e6");
}

TEST(ElementReferences, mayGetTheirNumbersFromElsewhere)
{
    std::uint64_t last = 500;
    ElementReferences references([&] { return last += 10; });

    EXPECT_EQ(named(references, {element("button", "Save"), element("link", "More")}), "b510 l520");
    EXPECT_EQ(named(references, {element("link", "More"), element("button", "Save")}), "l520 b510");
    EXPECT_GT(references.bytes(), 0U);
}

TEST(ElementReferences, stayInLaterTrees)
{
    ElementReferences references;
    named(references, {element("button", "Save", 10), element("textfield", "Name", 20)});

    EXPECT_EQ(named(references, {element("textfield", "Name", 200), element("link", "New"),
                                 element("button", "Save", 50)}),
              "t2 l3 b1");
}

TEST(ElementReferences, comeBackWithTheElement)
{
    ElementReferences references;
    named(references, {element("button", "Save")});
    named(references, {element("button", "Open")});

    EXPECT_EQ(references.find("b1").kind, Kind::gone);
    EXPECT_EQ(named(references, {element("button", "Save", 90)}), "b1");
    EXPECT_EQ(references.find("b1").kind, Kind::found);
}

TEST(ElementReferences, tellElementsApartByRoleNameAndIdentifier)
{
    ElementReferences references;
    named(references, {element("button", "Save", 10, "save")});

    EXPECT_EQ(named(references, {element("button", "Save", 10, "other")}), "b2");
    EXPECT_EQ(named(references, {element("link", "Save", 10, "save")}), "l3");
    EXPECT_EQ(named(references, {element("button", "Send", 10, "save")}), "b4");
    EXPECT_EQ(named(references, {element("button", "Save", 10, "save")}), "b1");
}

TEST(ElementReferences, findTheElementInTheNewestTree)
{
    ElementReferences references;
    named(references, {element("button", "Save", 10)});
    references.update({element("button", "Save", 70)});

    ReferenceMatch const match = references.find("b1");

    ASSERT_EQ(match.kind, Kind::found);
    ASSERT_EQ(match.elements.size(), 1U);
    EXPECT_EQ(match.elements[0].element.frame.y, 70);
    EXPECT_EQ(references.find("b2").kind, Kind::unknown);
    EXPECT_EQ(references.find("").kind, Kind::unknown);
}

TEST(ElementReferences, ofLookAlikesStayWhileAllAreInPlace)
{
    ElementReferences references;
    std::vector<SeenElement> const rows = {element("row", "Milk", 10), element("button", "Delete", 10),
                                           element("row", "Bread", 20), element("button", "Delete", 20)};

    EXPECT_EQ(named(references, rows), "e1 b2 e3 b4");
    EXPECT_EQ(named(references, rows), "e1 b2 e3 b4");
}

TEST(ElementReferences, ofLookAlikesEndWhenARowIsDeleted)
{
    ElementReferences references;
    named(references, {element("row", "Milk", 10), element("button", "Delete", 10),
                       element("row", "Bread", 20), element("button", "Delete", 20)});

    EXPECT_EQ(named(references, {element("row", "Bread", 10), element("button", "Delete", 10)}), "e3 b5");
    ReferenceMatch const match =
        references.find("b2"); // In the place of b2 is now the button of another row.
    EXPECT_EQ(match.kind, Kind::several);
    ASSERT_EQ(match.elements.size(), 1U);
    EXPECT_EQ(match.elements[0].reference, "b5");
}

TEST(ElementReferences, ofLookAlikesEndWhenOthersComeBeforeThem)
{
    ElementReferences references;
    named(references, {element("row", "Milk", 10), element("button", "Delete", 10),
                       element("row", "Bread", 20), element("button", "Delete", 20)});

    EXPECT_EQ(named(references, {element("row", "Bread", 10), element("button", "Delete", 10),
                                 element("row", "Milk", 20), element("button", "Delete", 20)}),
              "e3 b5 e1 b6");
    EXPECT_EQ(references.find("b4").elements.size(), 2U);
}

TEST(ElementReferences, ofANamelessElementNeedItsPlace)
{
    ElementReferences references;
    named(references, {element("textarea", "", 10)});

    EXPECT_EQ(named(references, {element("textarea", "", 10)}), "t1");
    EXPECT_EQ(named(references, {element("textarea", "", 11)}), "t2");
    EXPECT_EQ(references.find("t1").kind, Kind::several);
}

TEST(ElementReferences, areNeverGivenOutTwice)
{
    ElementReferences references;
    for (int i = 0; i < 20; ++i)
        named(references, {element("button", "n" + std::to_string(i)), element("button", "same", i)});

    EXPECT_EQ(named(references, {element("button", "last")}), "b22");
}

TEST(ElementReferences, areForgottenAfterThousandsOfNewerOnes)
{
    ElementReferences references;
    named(references, {element("button", "first")});
    std::size_t const trees = 10;
    std::size_t const size = ElementReferences::maxKnown / 4;
    for (std::size_t tree = 0; tree < trees; ++tree) {
        std::vector<SeenElement> elements;
        for (std::size_t i = 0; i < size; ++i)
            elements.push_back(element("button", std::to_string(tree) + " " + std::to_string(i)));
        references.update(std::move(elements));
    }

    EXPECT_EQ(references.find("b1").kind, Kind::unknown);
    EXPECT_EQ(references.find("b" + std::to_string(trees * size + 1)).kind, Kind::found);
    EXPECT_EQ(references.find("b" + std::to_string((trees - 3) * size)).kind, Kind::gone);
}

} // namespace
} // namespace zelvo::service
