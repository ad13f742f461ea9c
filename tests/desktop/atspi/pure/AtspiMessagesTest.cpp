#include "platform/linux/atspi/AtspiMessages.h"

#include "base/Text.h"
#include "desktop/atspi/OfflineBus.h"

#include <gmock/gmock.h>

namespace zelvo::test {

namespace {

using namespace atspi;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

struct AtspiMessages : testing::Test {
    OfflineBus bus;
};

} // namespace

TEST_F(AtspiMessages, readsReferences)
{
    auto const message = bus.message([](sd_bus_message* m) {
        sd_bus_message_append(m, "a(so)", 3, ":1.5", "/a/1", "", "/org/a11y/atspi/null", "", "/a/2");
    });

    auto const references = readReferences(message.get());

    ASSERT_TRUE(references);
    EXPECT_THAT(*references, ElementsAre(Reference{":1.5", "/a/1"}, Reference{"", "/a/2"}));
}

TEST_F(AtspiMessages, stopsAtTheMostChildren)
{
    auto const message = bus.message([](sd_bus_message* m) {
        sd_bus_message_open_container(m, 'a', "(so)");
        for (int at = 0; at < 10'500; ++at)
            sd_bus_message_append(m, "(so)", "", "/a");
        sd_bus_message_close_container(m);
    });

    EXPECT_THAT(readReferences(message.get()).value_or(std::vector<Reference>()), SizeIs(maxChildren));
}

TEST_F(AtspiMessages, readsOneReference)
{
    auto const some = bus.message([](sd_bus_message* m) { sd_bus_message_append(m, "(so)", ":1.1", "/a"); });
    auto const none =
        bus.message([](sd_bus_message* m) { sd_bus_message_append(m, "(so)", "", "/org/a11y/atspi/null"); });

    EXPECT_EQ(readReference(some.get()), (Reference{":1.1", "/a"}));
    EXPECT_EQ(readReference(none.get()), std::nullopt);
}

TEST_F(AtspiMessages, readsStatesOfAnyNumberOfWords)
{
    auto const two = bus.message([](sd_bus_message* m) { sd_bus_message_append(m, "au", 2, 2u, 0x400u); });
    auto const none = bus.message([](sd_bus_message* m) { sd_bus_message_append(m, "au", 0); });
    auto const many = bus.message([](sd_bus_message* m) { sd_bus_message_append(m, "au", 3, 1u, 1u, 1u); });

    EXPECT_EQ(readStates(two.get())->bits, (std::uint64_t{0x400} << 32) | 2);
    EXPECT_EQ(readStates(none.get())->bits, 0u);
    EXPECT_EQ(readStates(many.get())->bits, (std::uint64_t{1} << 32) | 1);
}

TEST_F(AtspiMessages, readsInterfaces)
{
    auto const message = bus.message([](sd_bus_message* m) {
        sd_bus_message_append(m, "as", 4, "org.a11y.atspi.Text", "org.a11y.atspi.EditableText", "Action",
                              "org.a11y.atspi.Whatever");
    });

    EXPECT_EQ(readInterfaces(message.get()), hasText | hasEditableText);
}

TEST_F(AtspiMessages, readsProperties)
{
    auto const message = bus.message([](sd_bus_message* m) {
        sd_bus_message_append(m, "a{sv}", 7, "HelpText", "s", "the help", "Name", "s", "the name", "Parent",
                              "(so)", "", "/a", "ChildCount", "i", 7, "Description", "i", 5, "AccessibleId",
                              "s", "id", "Locale", "s", "C");
    });

    auto const properties = readProperties(message.get());

    ASSERT_TRUE(properties);
    EXPECT_EQ(properties->name, "the name");
    EXPECT_EQ(properties->description, std::nullopt); // Of another type.
    EXPECT_EQ(properties->help, "the help");
    EXPECT_EQ(properties->identifier, "id");
    EXPECT_EQ(properties->childCount, 7);
}

TEST_F(AtspiMessages, readsOneProperty)
{
    auto const text = bus.message([](sd_bus_message* m) { sd_bus_message_append(m, "v", "s", "x"); });
    auto const number = bus.message([](sd_bus_message* m) { sd_bus_message_append(m, "v", "i", -3); });
    auto const positive =
        bus.message([](sd_bus_message* m) { sd_bus_message_append(m, "v", "u", 4'000'000'000u); });

    auto const parent =
        bus.message([](sd_bus_message* m) { sd_bus_message_append(m, "v", "(so)", ":1.7", "/a"); });
    auto const none = bus.message(
        [](sd_bus_message* m) { sd_bus_message_append(m, "v", "(so)", "", "/org/a11y/atspi/null"); });

    EXPECT_EQ(readReferenceProperty(parent.get()), (Reference{":1.7", "/a"}));
    EXPECT_EQ(readReferenceProperty(none.get()), std::nullopt);
    EXPECT_EQ(readReferenceProperty(text.get()), std::nullopt);
    EXPECT_EQ(readTextProperty(text.get()), "x");
    EXPECT_EQ(readNumberProperty(number.get()), -3);
    EXPECT_EQ(readNumberProperty(positive.get()), 0x7fffffff);
}

TEST_F(AtspiMessages, readsExtentsActionsAndAttributes)
{
    auto const extents =
        bus.message([](sd_bus_message* m) { sd_bus_message_append(m, "(iiii)", -1, 2, 3, 4); });
    auto const actions = bus.message(
        [](sd_bus_message* m) { sd_bus_message_append(m, "a(sss)", 2, "click", "d", "k", "", "", ""); });
    auto const attributes = bus.message(
        [](sd_bus_message* m) { sd_bus_message_append(m, "a{ss}", 2, "class", "c", "id", "view_1"); });

    EXPECT_EQ(readExtents(extents.get()), (Extents{-1, 2, 3, 4}));
    EXPECT_THAT(readActions(actions.get()).value_or(std::vector<Action>()),
                ElementsAre(Action{"click", "d"}, Action{}));
    EXPECT_EQ(readAttribute(attributes.get(), "id"), "view_1");
}

TEST_F(AtspiMessages, readsRelations)
{
    auto const relations = bus.message([](sd_bus_message* m) {
        sd_bus_message_append(m, "a(ua(so))", 2, 1u, 0, 2u, 2, ":1.1", "/a", ":1.1", "/b");
    });

    auto const found = readRelations(relations.get()).value_or(std::vector<Relation>());

    ASSERT_THAT(found, SizeIs(2));
    EXPECT_EQ(found[0].type, 1u);
    EXPECT_EQ(found[1].type, 2u);
    EXPECT_THAT(found[1].targets, ElementsAre(Reference{":1.1", "/a"}, Reference{":1.1", "/b"}));
}

TEST_F(AtspiMessages, boundsTextsActionsAndTheirNames)
{
    std::string const huge(100'000, 'x');
    auto const text = bus.message([&](sd_bus_message* m) { sd_bus_message_append(m, "s", huge.c_str()); });
    auto const actions = bus.message([&](sd_bus_message* m) {
        sd_bus_message_open_container(m, 'a', "(sss)");
        for (int at = 0; at < 100; ++at)
            sd_bus_message_append(m, "(sss)", huge.c_str(), "", "");
        sd_bus_message_close_container(m);
    });

    EXPECT_THAT(readBoundedText(text.get()).value_or(""), SizeIs(maxTextLength));
    auto const found = readActions(actions.get()).value_or(std::vector<Action>());
    ASSERT_THAT(found, SizeIs(maxActions));
    EXPECT_THAT(found.front().name, SizeIs(maxActionNameLength));
}

TEST_F(AtspiMessages, takesMessagesOfAnotherShapeForNothing)
{
    for (char const* content : {"nothing", "number", "text", "list"}) {
        auto const make = [&] {
            return bus.message([&](sd_bus_message* m) {
                std::string const kind = content;
                if (kind == "number")
                    sd_bus_message_append(m, "x", std::int64_t{5});
                else if (kind == "text")
                    sd_bus_message_append(m, "g", "s");
                else if (kind == "list")
                    sd_bus_message_append(m, "ad", 1, 0.5);
            });
        };
        EXPECT_FALSE(readReferences(make().get())) << content;
        EXPECT_FALSE(readReference(make().get())) << content;
        EXPECT_FALSE(readRole(make().get())) << content;
        EXPECT_FALSE(readStates(make().get())) << content;
        EXPECT_FALSE(readInterfaces(make().get())) << content;
        EXPECT_FALSE(readProperties(make().get())) << content;
        EXPECT_FALSE(readTextProperty(make().get())) << content;
        EXPECT_FALSE(readNumberProperty(make().get())) << content;
        EXPECT_FALSE(readBoundedText(make().get())) << content;
        EXPECT_FALSE(readExtents(make().get())) << content;
        EXPECT_FALSE(readActions(make().get())) << content;
        EXPECT_FALSE(readRelations(make().get())) << content;
        EXPECT_FALSE(readAttribute(make().get(), "id")) << content;
    }
}

TEST(AtspiTexts, areCutBetweenCharacters)
{
    EXPECT_EQ(bounded("abc", 3), "abc");
    EXPECT_EQ(bounded("abcd", 3), "abc");
    EXPECT_EQ(bounded("ab\u00e4", 3), "ab");
    EXPECT_EQ(bounded("\U0001f600x", 3), "");
    EXPECT_TRUE(text::isUtf8(bounded("\xff\xfe\x80\x80", 3)));
    EXPECT_TRUE(text::isUtf8(bounded(std::string(100, '\x80'), 50)));
}

} // namespace zelvo::test
