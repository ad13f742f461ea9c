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

/// A button that is shown under the pointer alone, fields whose input takes time or hands the focus on, and
/// forms whose button is far away, outside of them, or pressed from a box.
std::string shiftingPage()
{
    std::string options;
    for (int number = 0; number < 320; ++number)
        options += "<option>Country " + std::to_string(number) + "</option>";
    return R"html(<!doctype html><html lang="en"><meta charset="utf-8"><title>Order: open</title>
<style>button { width: 200px; height: 40px } .row { width: 700px; height: 60px; border: 1px solid }
.row button { display: none } .row:hover button { display: block; width: 690px; height: 56px }</style>
<div class="row"><button onclick="pressed()">Delete</button></div>
<p><label>Code <input id="code"></label> <button id="pay" onclick="pressed()">Pay</button></p>
<p><label>Slow <input id="slow"></label> <button onclick="pressed()">Buy</button></p>
<form onsubmit="pressed(); return false"><p><label>Name <input></label>
<label><input type="checkbox"> Gift</label> <select aria-label="Country">)html" +
           options + R"html(</select> <button>Send</button></p></form>
<form id="far" onsubmit="pressed(); return false"><p><label>Mail <input></label></p></form>
<p><button form="far">Submit</button></p><script>
function pressed() { document.title = 'Order: sent'; }
code.addEventListener('input', () => { if (code.value.length >= 5) { code.value = ''; pay.focus(); } });
slow.addEventListener('input', () => { const end = performance.now() + 400; while (performance.now() < end); });
</script></html>)html";
}

/// A page in Chromium in front, with the strict guard on.
class StrictInAPage : public Strict {
protected:
    void openPage(std::string_view text)
    {
        connection = linkByReturn({"screen", "input"});
        auto const file = desktop.home() / "page.html";
        std::ofstream(file) << text;
        desktop.start(
            chromium(desktop, {"--window-position=0,0", "--window-size=900,800", "file://" + file.string()}));
        letterWindow = desktop.waitForWindow({.title = "Order: open"}, 60s);
        require("the page in front", [&] { return desktop.activeWindow() == letterWindow; }, 20s);
        require(
            "the elements of the page",
            [&] { return findIf(tree(connection), "AXButton", "Send") != nullptr; }, 30s);
        setStrict(true);
    }
};

TEST_F(StrictInAPage, judgesWhatIsThereWhenTheInputArrivesInAPage)
{
    openPage(shiftingPage());
    json::value const code = clickOn("AXTextField", "Code");
    json::value const slow = clickOn("AXTextField", "Slow");
    json::value const name = clickOn("AXTextField", "Name");
    json::value const mail = clickOn("AXTextField", "Mail");
    json::value row = clickOn("AXButton", "Pay");
    row.at("y") = row.at("y").to_number<double>() - 60;
    json::value const away{{"type", "move"}, {"x", 850}, {"y", 700}};
    auto const pressed = [&] { return isOpen("Order: sent"); };

    expectHeld({{"click on what is shown under the pointer", {away, row}},
                {"press and release there", {away, down(row), up(row)}},
                {"blank after a full field", {code, type("a bcd ")}},
                {"blank after a slow tab", {slow, type("x\t ")}},
                {"Space after a slow tab", {slow, type("x"), key({"tab"}), key({"space"})}},
                {"Return in a form with a long list", {name, key({"return"})}},
                {"Return on a box of a form", {name, key({"tab"}), key({"return"})}},
                {"Return in a form with its button outside", {mail, key({"return"})}}},
               pressed);
    EXPECT_FALSE(pressed());
}

TEST_F(StrictInAPage, leavesNoWayToPressAButtonOfAPageWithoutAQuestion)
{
    openPage(page);
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
