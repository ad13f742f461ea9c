#include "end_to_end/StrictFixture.h"

namespace zelvo::test {
namespace {

constexpr char const* page =
    R"(<!doctype html><html lang="en"><meta charset="utf-8"><title>Order: open</title>
<form onsubmit="document.title = 'Order: sent'; return false">
<p><label>Name <input id="name" autofocus></label> <button type="button">Clear</button></p>
<p><button style="width: 200px; height: 80px">Send</button></p></form>
<p><label>Search <input></label></p>
<p><button style="width: 200px; height: 80px" onclick="document.title = 'Order: looked'">Look</button></p></html>)";

TEST_F(Strict, leavesNoWayToPressAButtonOfAPageWithoutAQuestion)
{
    connection = linkByReturn({"screen", "input"});
    auto const file = desktop.home() / "order.html";
    std::ofstream(file) << page;
    desktop.start(
        chromium(desktop, {"--window-position=0,0", "--window-size=900,800", "file://" + file.string()}));
    letterWindow = desktop.waitForWindow({.title = "Order: open"}, 60s);
    require("the page in front", [&] { return desktop.activeWindow() == letterWindow; }, 20s);
    require(
        "the elements of the page", [&] { return findIf(tree(connection), "AXButton", "Send") != nullptr; },
        30s);
    setStrict(true);
    json::value const send = clickOn("AXButton", "Send");
    json::value const look = clickOn("AXButton", "Look");
    json::value const name = clickOn("AXTextField", "Name");
    json::value const search = clickOn("AXTextField", "Search");
    auto const pressed = [&] { return isOpen("Order: sent"); };

    expectHeld({{"press and release", {down(send), up(send)}},
                {"drag on the button itself", {drag(send, send)}},
                {"middle click", {with(send, "middle")}},
                {"blank", {name, key({"tab"}), key({"tab"}), type(" ")}},
                {"blank after tabs in one text", {name, type("x\t\t ")}},
                {"line end", {name, type("x\t\t\n")}},
                {"Return with Shift", {name, key({"tab"}), key({"tab"}), key({"shift", "return"})}},
                {"Space with Shift", {name, key({"tab"}), key({"tab"}), key({"shift", "space"})}},
                {"Return in a field", {name, key({"return"})}},
                {"line end in a field", {name, type("Ann\n")}},
                {"value with a line end", {setValue("AXTextField", "Name", "Ann\n")}}},
               pressed);
    EXPECT_EQ(codeOf(perform({setValue("AXButton", "Send", " ")})), "invalid_request");
    EXPECT_FALSE(pressed());

    EXPECT_EQ(codeOf(perform({search, type("two words\n"), key({"return"})})), "ok"); // No form around it.
    EXPECT_EQ(codeOf(perform({down(look), up(look)})), "ok");
    EXPECT_TRUE(waitFor([&] { return isOpen("Order: looked"); }));
    EXPECT_EQ(askedAnd("Return", {down(send), up(send)}), "ok");
    EXPECT_TRUE(waitFor(pressed));
}

} // namespace
} // namespace zelvo::test
