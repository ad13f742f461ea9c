#include "end_to_end/ReadingFixture.h"

#include <gmock/gmock.h>

namespace zelvo::test {
namespace {

using testing::HasSubstr;
using testing::Not;

TEST_F(Reading, wakesChromiumAndReadsAForm)
{
    std::string const connection = startUnattended();
    TestApplication const page = form(desktop, Toolkit::chromium);
    desktop.start(page.command);
    desktop.waitForWindow(page.window, 60s);
    require("the form", [&] { return lines(connection).find("\"Send\"") != std::string::npos; }, 60s);

    json::object const form = tree(connection);

    EXPECT_EQ(form.at("app").at("bundleId"), "chromium");
    EXPECT_EQ(read::text(find(form, "AXTextField", "Name"), "value"), "typed text");
    EXPECT_EQ(find(form, "AXButton", "Grey").at("enabled"), false);
    find(form, "AXSecureTextField", "Password");
    EXPECT_THAT(writeJson(form), Not(HasSubstr("secret\""))); // The text of the password field.
}

TEST_F(Reading, clicksInChromiumWhereTheTreeSays)
{
    std::string const connection = startUnattended();
    TestApplication const page = form(desktop, Toolkit::chromium);
    desktop.start(page.command);
    desktop.waitForWindow(page.window, 60s);
    require("the form", [&] { return lines(connection).find("\"Name\"") != std::string::npos; }, 60s);

    auto const perform = [&](json::value const& action) {
        return gateway.command(connection, "actions.perform", {{"actions", json::array{action}}}).status;
    };
    auto const name = [&] { return find(tree(connection), "AXTextField", "Name"); };
    EXPECT_EQ(perform(*parseJson(centerOf(name()))), 200);
    // A new page may receive keys before an earlier click.
    require("the keyboard in the field", [&] { return name().at("focused") == true; }, 20s);
    EXPECT_EQ(perform({{"type", "type"}, {"text", " and more"}}), 200);

    require("what was typed", [&] { return read::text(name(), "value") == "typed text and more"; }, 20s);
}

} // namespace
} // namespace zelvo::test
