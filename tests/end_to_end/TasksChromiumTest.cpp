#include "desktop/harness/Chromium.h"
#include "end_to_end/TasksFixture.h"

namespace zelvo::test {
namespace {

constexpr char const* page = R"html(<!doctype html><title>Order</title>
<form onsubmit="sure.showModal(); return false">
<label>Name <input id="person"></label><p>
<label>Town <input id="town"></label><p>
<label>Pieces <input id="pieces" inputmode="numeric"></label><p>
<button>Continue</button></form>
<dialog id="sure"><p>Is this right?</p><button onclick="agree()">Yes, this is right</button></dialog>
<p id="orders"></p>
<script>
function agree() {
    sure.close();
    orders.textContent = [person, town, pieces].map(field => field.value).join(", ");
    document.title = "Ordered: " + orders.textContent;
    document.forms[0].reset();
}
</script>)html";

TEST_F(Tasks, fillsAFormInChromiumAndConfirmsIt)
{
    std::filesystem::path const file = desktop.home() / "order.html";
    std::ofstream(file) << page;
    desktop.start(chromiumCommand(desktop.home() / "profile", {file.string()}));
    desktop.waitForWindow({.title = "Order"}, 60s);
    done("desktop_wait", {{"role", "button"}, {"name", "Continue"}, {"timeoutMs", 40'000}});
    repeat([&](int round) {
        std::string const pieces = std::to_string(round);
        done("desktop_see", {});
        act({click(ref("textfield", "Name")), type("Ada"), click(ref("textfield", "Town")), type("Tartu"),
             click(ref("textfield", "Pieces")), type(pieces), click(ref("button", "Continue"))});
        act({click(ref("button", "Yes, this is right"))});
        EXPECT_TRUE(isOpen("Ordered: Ada, Tartu, " + pieces));
    });
}

} // namespace
} // namespace zelvo::test
