#include "wire/records/Commands.h"
#include "wire/records/Frames.h"
#include "wire/records/Heartbeat.h"
#include "wire/records/SystemCommands.h"

#include <gtest/gtest.h>

namespace zelvo::records {
namespace {

TEST(RecordCodec, readsAndWritesEveryKeyByItsName)
{
    std::string_view const text =
        R"({"data": "QUJD", "heightPoints": 600, "imageHeight": 1200, "imageWidth": 1600, "mime": "image/jpeg",
            "scale": 2, "widthPoints": 800})";

    auto const screenshot = fromText<Screenshot>(text);

    ASSERT_TRUE(screenshot);
    EXPECT_EQ(screenshot->data, "QUJD");
    EXPECT_EQ(screenshot->imageWidth, 1600);
    EXPECT_EQ(screenshot->scale, 2.0);
    EXPECT_EQ(fromJson<Screenshot>(toJson(*screenshot)), screenshot);
    EXPECT_EQ(toJson(*screenshot).size(), 7u);
}

TEST(RecordCodec, takesAnOptionalKeyAbsentOrNull)
{
    auto const absent = fromText<AppRef>("{}");
    auto const null = fromText<AppRef>(R"({"bundleId": null, "name": null})");
    auto const given = fromText<AppRef>(R"({"bundleId": "chromium"})");

    EXPECT_EQ(absent, AppRef{});
    EXPECT_EQ(null, AppRef{});
    EXPECT_EQ(given->bundleId, "chromium");
    EXPECT_TRUE(toJson(AppRef{}).empty());
}

TEST(RecordCodec, needsItsRequiredKeys)
{
    EXPECT_FALSE(fromText<ClipboardText>("{}"));
    EXPECT_FALSE(fromText<ClipboardText>(R"({"text": null})"));
    EXPECT_FALSE(fromText<ClipboardText>(R"({"Text": "x"})"));
    EXPECT_TRUE(fromText<ClipboardText>(R"({"text": ""})"));
}

TEST(RecordCodec, failsOnAWrongType)
{
    EXPECT_FALSE(fromText<ClipboardText>(R"({"text": 5})"));
    EXPECT_FALSE(fromText<AppRef>(R"({"name": 5})"));
    EXPECT_FALSE(fromText<ClipboardText>("[]"));
    EXPECT_FALSE(fromText<ClipboardText>("not json"));
    EXPECT_FALSE(fromText<RunningApp>(R"({"active": 1, "bundleId": "a", "name": "b", "pid": 1})"));
    EXPECT_FALSE(fromText<RunningApp>(R"({"active": true, "bundleId": "a", "name": "b", "pid": 1.5})"));
    EXPECT_TRUE(fromText<RunningApp>(R"({"active": true, "bundleId": "a", "name": "b", "pid": 1.0})"));
}

TEST(RecordCodec, passesOverUnknownKeys)
{
    EXPECT_EQ(fromText<OpenURLRequest>(R"({"url": "x", "confirmationTimeoutMs": 5, "more": {}})"),
              OpenURLRequest{.url = "x"});
}

TEST(RecordCodec, readsEnumerationsByTheirTexts)
{
    auto const click =
        fromText<Action>(R"({"type": "click", "x": 1, "y": 2.5, "button": "right", "modifiers": ["win"]})");

    ASSERT_TRUE(click);
    EXPECT_EQ(click->type, TypeEnum::click);
    EXPECT_EQ(click->button, MouseButton::mouseButtonRight);
    EXPECT_EQ(click->modifiers, std::vector{Modifier::win});
    EXPECT_EQ(writeJson(toJson(*click)),
              R"({"type":"click","x":1,"y":2.5E0,"button":"right","modifiers":["win"]})");
    EXPECT_FALSE(fromText<Action>(R"({"type": "fly"})"));
    EXPECT_FALSE(fromText<Action>(R"({"type": "click", "button": "Left"})"));
}

TEST(RecordCodec, readsNestedRecordsListsAndMaps)
{
    auto const drag =
        fromText<Action>(R"({"type": "drag", "from": {"x": 1, "y": 2}, "to": {"x": 3, "y": 4}})");
    auto const shell = fromText<ShellRequest>(R"({"command": "ls", "env": {"A": "1"}, "timeoutMs": 5})");

    EXPECT_EQ(drag->from, (From{.x = 1, .y = 2}));
    EXPECT_EQ(drag->to, (To{.x = 3, .y = 4}));
    EXPECT_EQ(shell->env, (std::map<std::string, std::string>{{"A", "1"}}));
    EXPECT_FALSE(fromText<Action>(R"({"type": "drag", "from": {"x": 1}})"));
    EXPECT_FALSE(fromText<ShellRequest>(R"({"command": "ls", "env": {"A": 1}, "timeoutMs": 5})"));
}

TEST(RecordCodec, keepsAnyValueAsItIs)
{
    auto const reply = fromText<RPCResponse>(R"({"id": "1", "result": [1, {"a": null}]})");

    ASSERT_TRUE(reply);
    EXPECT_EQ(writeJson(*reply->result), R"([1,{"a":null}])");
    EXPECT_FALSE(reply->error);
}

TEST(RecordCodec, writesANullableKeyAlways)
{
    Heartbeat heartbeat;
    EXPECT_TRUE(toJson(heartbeat).at("display").is_null());
    EXPECT_FALSE(toJson(heartbeat).contains("cpu"));
    EXPECT_EQ(fromJson<Heartbeat>(toJson(heartbeat)), heartbeat);

    heartbeat.display =
        DisplayInfo{.displayId = 7, .heightPoints = 600, .scaleFactor = 1, .widthPoints = 800};
    EXPECT_EQ(toJson(heartbeat).at("display").at("displayId"), 7);
    EXPECT_EQ(fromJson<Heartbeat>(toJson(heartbeat)), heartbeat);
}

TEST(RecordCodec, movesALongText)
{
    Screenshot screenshot;
    screenshot.data = json::string(100'000, 'x');
    char const* const address = screenshot.data.data();
    json::object const written = toJson(std::move(screenshot));
    EXPECT_EQ(written.at("data").get_string().data(), address);
}

TEST(RecordCodec, readsATree)
{
    auto const tree = fromText<UITree>(
        R"({"app": {"bundleId": "a", "name": "A"}, "elements": [{"actions": ["AXPress"], "enabled": true,
            "focused": false, "frame": {"x": 0, "y": 0, "w": 1, "h": 2}, "id": "e0", "role": "AXButton"}],
            "snapshotId": "s", "truncated": false})");

    ASSERT_TRUE(tree);
    EXPECT_EQ(tree->elements.at(0).frame.h, 2);
    EXPECT_FALSE(tree->compact);
    EXPECT_FALSE(tree->elements.at(0).title);
}

} // namespace
} // namespace zelvo::records
