#include "desktop/atspi/AtspiFixture.h"
#include "drivers/TreeWalk.h"
#include "drivers/WantedElement.h"
#include "router/ObservationValues.h"
#include "wire/Json.h"

#include <boost/json/array.hpp>
#include <gmock/gmock.h>

#include <chrono>

// What an application says may be of any length and of any characters. A look at it ends in time, and its
// reply is far from the limit of a message.

namespace zelvo::test {

namespace {

namespace json = boost::json;
using std::chrono::steady_clock;

constexpr std::size_t maxReply = 100u << 20; // Of the 192 MiB that a gateway takes.

/// A letter with accents without end, then characters that change the direction, break lines or are
/// invisible, and one that takes six bytes in JSON.
std::string hostileText(std::size_t bytes)
{
    std::string const overriding{'\xe2', '\x80', '\xae'}; // U+202E
    std::string const isolating{'\xe2', '\x81', '\xa6'};  // U+2066
    std::string const pattern =
        "a\u0301\u0308\u20dd" + overriding + isolating + "\u200f\u200b\u2028\ufeff\x01\u05d0\U000e0001";
    std::string text;
    text.reserve(bytes + pattern.size());
    for (std::size_t at = 0; at < bytes / 2; at += 2)
        text += "\u0301";
    while (text.size() < bytes)
        text += pattern;
    return text;
}

/// Every text that an element can have.
json::object hostileElement(int role, std::size_t bytes)
{
    std::string const text = hostileText(bytes);
    return {{"role", role},
            {"name", text},
            {"description", text},
            {"help", text},
            {"id", text},
            {"text", text},
            {"editable", true},
            {"states", {7, 8, 24, 25, 30}},
            {"actions", {text, "b" + text}}};
}

struct Looked {
    UiTreeSnapshot snapshot;
    Duration took{};

    /// Bytes of the longer of the two replies, that with the compact lines.
    std::size_t replySize() const
    {
        records::UITree tree{.snapshotId = snapshot.snapshotId, .truncated = snapshot.truncated};
        std::string lines;
        for (UiElementInfo const& element : snapshot.elements) {
            tree.elements.push_back(elementRecord(element));
            lines += element.compactLine() + "\n";
        }
        tree.compact = std::move(lines);
        return writeJson(records::toJson(std::move(tree))).size();
    }
};

/// One look as "ui.tree" and "ui.wait" take it, with their limits.
Looked lookAt(AtspiFixture& fixture, ScriptedProcess const& application)
{
    TreeLimits const limits;
    auto const began = steady_clock::now();
    auto const reader = fixture.accessibility->reader(application.pid, limits.messagingTimeout);
    Instant const deadline = fixture.clock->now() + limits.totalTimeout;
    reader->plan({.maxDepth = limits.maxDepth,
                  .deadline = deadline,
                  .describes = [](std::string_view) { return true; },
                  .allowsProcess = {}});
    TreeWalk walk(*reader, *fixture.clock, limits, deadline, false);
    walk.run(reader->elements(reader->application(), AccessibilityAttribute::windows)
                 .value_or(std::vector<AccessibilityElement>()));
    Looked looked;
    looked.took = steady_clock::now() - began;
    looked.snapshot.elements = std::move(walk.collected);
    looked.snapshot.truncated = walk.truncated || reader->hasFallenSilent();
    return looked;
}

void expectBounded(Looked const& looked, std::string const& toolkit)
{
    EXPECT_LT(looked.took, 4s) << toolkit;
    EXPECT_LT(looked.replySize(), maxReply) << toolkit;

    WantedElement const wanted{.name = "\u0301nothing", .value = hostileText(10u << 20)};
    auto const began = steady_clock::now();
    EXPECT_FALSE(wanted.in(looked.snapshot).isMatched) << toolkit;
    EXPECT_LT(steady_clock::now() - began, 3s) << toolkit;
}

} // namespace

class HostileTexts : public testing::TestWithParam<char const*> {};

TEST_P(HostileTexts, ofTenMegabytesEach)
{
    AtspiFixture fixture;
    json::array children = {{{"role", 43}, {"name", "first"}}};
    children.push_back(hostileElement(61, 10u << 20)); // The program reads 70 MB for each.
    auto const application = fixture.serveWindow(std::move(children), {{"toolkit", GetParam()}});

    Looked const looked = lookAt(fixture, application);

    EXPECT_GE(looked.snapshot.elements.size(), 2u);
    for (UiElementInfo const& element : looked.snapshot.elements)
        EXPECT_LE(element.title.value_or("").size(), 64u << 10);
    expectBounded(looked, GetParam());
}

TEST_P(HostileTexts, ofManyElementsTogether)
{
    AtspiFixture fixture;
    json::object element = hostileElement(61, 64u << 10);
    element["repeat"] = 200;
    auto const application = fixture.serveWindow({element}, {{"toolkit", GetParam()}});

    Looked const looked = lookAt(fixture, application);

    EXPECT_GT(looked.snapshot.elements.size(), 20u);
    EXPECT_TRUE(looked.snapshot.truncated);
    expectBounded(looked, GetParam());
}

/// One label's text becomes the title of each field that refers to it.
TEST_P(HostileTexts, ofALabelOfManyFields)
{
    AtspiFixture fixture;
    json::object label = hostileElement(29, 64u << 10);
    label["label"] = "a";
    json::array children = {label};
    for (int at = 0; at < 1'400; ++at)
        children.push_back({{"role", 61}, {"editable", true}, {"labelledBy", "a"}});
    auto const application = fixture.serveWindow(std::move(children), {{"toolkit", GetParam()}});

    Looked const looked = lookAt(fixture, application);

    EXPECT_GT(looked.snapshot.elements.size(), 50u);
    EXPECT_GT(looked.snapshot.elements.back().title.value_or("").size(), 60u << 10);
    expectBounded(looked, GetParam());
}

INSTANTIATE_TEST_SUITE_P(All, HostileTexts, testing::Values("gtk", "Qt"));

} // namespace zelvo::test
