#include "end_to_end/IdentityFixture.h"

#include "base/Text.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace zelvo::test {

namespace {

int numberIn(json::object const& frame, char const* key)
{
    return static_cast<int>(frame.at(key).to_number<double>());
}

json::object const& frameOf(json::object const& window)
{
    return window.at("frame").as_object();
}

} // namespace

void Identity::expectKnown(KnownWindow const& window)
{
    bringToFront(window.title);
    expectLists(window);
    expectTree(window);
    std::vector<std::string> names = window.names;
    names.insert(names.begin(), window.identifier);
    for (std::string const& name : names) {
        SCOPED_TRACE(window.title + " as " + name);
        expectAskedForBy(window, name);
        expectAskedForBy(window, text::uppercased(name));
    }
    for (std::string const& name : names) {
        SCOPED_TRACE(window.title + " hidden as " + name);
        expectHiddenBy(window, name);
    }
    EXPECT_EQ(actionWith("nobody.at.all"), "app_not_frontmost");
}

void Identity::expectLists(KnownWindow const& window)
{
    for (json::object const& each : listed(window.title))
        EXPECT_EQ(each.at("bundleId"), json::string(window.identifier)) << writeJson(each);
    auto const all = rows(window.identifier);
    ASSERT_EQ(all.size(), 1u) << writeJson(resultOf("apps.list"));
    EXPECT_EQ(all.front().at("active"), true);
    EXPECT_EQ(all.front().at("name"), listed(window.title).at(0).at("appName"));
    json::value const running = resultOf("apps.list");
    for (json::value const& row : running.as_array())
        if (row.at("pid") == all.front().at("pid") && row.at("bundleId") != json::string(window.identifier))
            EXPECT_THAT(window.siblings, testing::Contains(std::string(row.at("bundleId").as_string())));
}

void Identity::expectTree(KnownWindow const& window)
{
    json::object const seen = tree(connection);
    EXPECT_EQ(seen.at("app").at("bundleId"), json::string(window.identifier));
}

void Identity::expectAskedForBy(KnownWindow const& window, std::string const& name)
{
    bringToFront(window.title);
    EXPECT_EQ(actionWith(name), "ok");
    for (char const* const method : {"apps.activate", "apps.open"}) {
        bringToFront("bystander");
        Answer const answer = command(method, {{"bundleId", name}});
        EXPECT_EQ(codeOf(answer), "ok") << method << writeJson(answer.body);
        if (answer.status == 200)
            EXPECT_EQ(answer.body.at("result").at("bundleId"), json::string(window.identifier)) << method;
        EXPECT_TRUE(waitFor([&] { return desktop.activeWindow() != 0 && !isInFront("bystander"); }, 1s))
            << method;
        EXPECT_EQ(inFront(), window.identifier) << method;
    }
}

void Identity::expectHiddenBy(KnownWindow const& window, std::string const& name)
{
    bringToFront(window.title);
    json::object const frame = frameOf(listed(window.title).at(0));
    EXPECT_GT(pixelsOver(frame), 0);
    hide({name});

    EXPECT_EQ(failureOf("ui.tree"), "hidden_app_active");
    EXPECT_EQ(clickAt(frame), "hidden_app_active");
    EXPECT_EQ(pixelsOver(frame), 0);
    EXPECT_TRUE(listed(window.title).empty());
    for (std::string const& other : window.hides)
        EXPECT_TRUE(listed(other).empty()) << other;
    EXPECT_TRUE(rows(window.identifier).empty());
    EXPECT_EQ(failureOf("apps.activate", {{"bundleId", name}}), "hidden_app_active");
    Answer const other =
        command("actions.perform", {{"actions", json::array{json::object{{"type", "wait"}, {"ms", 1}}}},
                                    {"expectBundleId", "nobody.at.all"}});
    EXPECT_EQ(other.body.at("error").at("details").at("actual"), "");

    hide({});
    EXPECT_FALSE(listed(window.title).empty());
}

void Identity::bringToFront(std::string const& title)
{
    auto const window = desktop.waitForWindow({.title = title});
    desktop.run({"xdotool", "windowactivate", std::to_string(window)});
    require(title + " in front", [&] { return isInFront(title); });
}

bool Identity::isInFront(std::string const& title)
{
    auto const active = desktop.activeWindow();
    return active && active == desktop.findWindow({.title = title});
}

std::vector<json::object> Identity::listed(std::string const& title)
{
    std::vector<json::object> found;
    json::value const windows = resultOf("windows.list");
    for (json::value const& each : windows.as_array())
        if (each.at("title").as_string().find(title) != json::string::npos)
            found.push_back(each.as_object());
    return found;
}

std::string Identity::identifierOf(std::string const& title)
{
    auto const found = listed(title);
    return found.empty() ? "" : std::string(found.front().at("bundleId").as_string());
}

std::vector<json::object> Identity::rows(std::string const& identifier)
{
    std::vector<json::object> found;
    json::value const running = resultOf("apps.list");
    for (json::value const& each : running.as_array())
        if (each.at("bundleId") == json::string(identifier))
            found.push_back(each.as_object());
    return found;
}

void Identity::hide(std::vector<std::string> const& names)
{
    agent.store("dev.zelvo.hiddenApps", json::array(names.begin(), names.end()));
}

void Identity::makeTransient(std::uint32_t window, std::uint32_t target)
{
    xcb_change_property(painter.x(), XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_TRANSIENT_FOR,
                        XCB_ATOM_WINDOW, 32, 1, &target);
    painter.sync();
}

std::string Identity::actionWith(std::string const& expected)
{
    json::array const wait{json::object{{"type", "wait"}, {"ms", 1}}};
    return failureOf("actions.perform", {{"actions", wait}, {"expectBundleId", expected}});
}

std::string Identity::clickAt(json::object const& frame)
{
    json::object const scroll{{"type", "scroll"},
                              {"x", numberIn(frame, "x") + numberIn(frame, "w") / 2},
                              {"y", numberIn(frame, "y") + numberIn(frame, "h") / 2},
                              {"dx", 0},
                              {"dy", 1}};
    return codeOf(perform({scroll}));
}

int Identity::pixelsOver(json::object const& frame)
{
    json::value const shot = resultOf("screenshot", {{"format", "png"}});
    Pixels const seen = pixelsOf(*base64::decode(std::string(shot.at("data").as_string())),
                                 std::string(shot.at("mime").as_string()));
    json::object const aside = frameOf(listed("bystander").at(0));
    auto const isIn = [](json::object const& area, int x, int y) {
        return x >= numberIn(area, "x") && x < numberIn(area, "x") + numberIn(area, "w") &&
               y >= numberIn(area, "y") && y < numberIn(area, "y") + numberIn(area, "h");
    };
    int over = 0;
    for (int y = 0; y < seen.height; ++y)
        for (int x = 0; x < seen.width; ++x) {
            if (!isIn(frame, x, y) || isIn(aside, x, y))
                continue;
            auto const* const at = &seen.bytes[static_cast<std::size_t>(y * seen.width + x) * 3];
            over += static_cast<std::uint32_t>(at[0] << 16 | at[1] << 8 | at[2]) != background;
        }
    return over;
}

} // namespace zelvo::test
