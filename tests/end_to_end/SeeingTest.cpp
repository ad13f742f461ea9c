#include "base/Base64.h"
#include "desktop/harness/Painter.h"
#include "end_to_end/EndToEnd.h"
#include "end_to_end/Pixels.h"

namespace zelvo::test {
namespace {

class Seeing : public EndToEnd {
protected:
    Pixels screenshot(std::string const& connection, json::object params = {})
    {
        auto const answer = gateway.command(connection, "screenshot", std::move(params));
        if (answer.status != 200)
            throw std::runtime_error("no screenshot: " + writeJson(answer.body));
        json::value const& result = answer.body.at("result");
        auto const bytes = base64::decode(std::string(result.at("data").as_string()));
        return pixelsOf(*bytes, std::string(result.at("mime").as_string()));
    }

    Painter painter{desktop.display()};
};

TEST_F(Seeing, aScreenshotShowsWhatIsOnTheDisplay)
{
    painter.paintRoot(0x336699);
    painter.open({.x = 100, .y = 100, .width = 300, .height = 200, .color = 0xcc2244, .title = "red"});
    painter.open({.x = 250, .y = 180, .width = 300, .height = 200, .color = 0x22cc44, .title = "green"});
    painter.movePointer(1200, 1000); // The pointer is in our pictures, but not in the server's.
    std::string const connection = startUnattended();

    Pixels const seen = screenshot(connection, {{"format", "png"}});
    Pixels const shown = pixelsOfRoot(painter.x());

    ASSERT_EQ(seen.width, 1280);
    ASSERT_EQ(seen.height, 1024);
    EXPECT_EQ(differences(seen, shown, {.x = 1180, .y = 980, .width = 60, .height = 44}, 0), 0);
}

TEST_F(Seeing, aJpegLooksTheSame)
{
    painter.paintRoot(0x336699);
    painter.open({.x = 100, .y = 100, .width = 300, .height = 200, .color = 0xcc2244, .title = "red"});
    painter.movePointer(1200, 1000);
    std::string const connection = startUnattended();

    Pixels const seen = screenshot(connection);
    Pixels const shown = pixelsOfRoot(painter.x());

    // JPEG blurs edges between colours.
    EXPECT_LT(differences(seen, shown, {.x = 1180, .y = 980, .width = 60, .height = 44}, 24),
              1280 * 1024 / 100);
}

TEST_F(Seeing, ourOwnWindowsAreNotInThePicture)
{
    painter.paintRoot(0x336699);
    std::string const connection = startUnattended();
    painter.movePointer(1200, 1000);
    Pixels const before = screenshot(connection, {{"format", "png"}});

    EXPECT_EQ(agent.startAgain({}), 0);
    waitForMainWindow();
    Pixels const with = screenshot(connection, {{"format", "png"}});

    EXPECT_EQ(differences(before, with, {}, 0), 0);
    EXPECT_GT(differences(with, pixelsOfRoot(painter.x()), {}, 0),
              1000); // It is on the display all the same.
}

TEST_F(Seeing, tellsWhereThePointerIs)
{
    std::string const connection = startUnattended();

    painter.movePointer(321, 123);

    json::value const at = gateway.command(connection, "cursor.position").body.at("result");
    EXPECT_EQ(at.at("x").to_number<double>(), 321);
    EXPECT_EQ(at.at("y").to_number<double>(), 123);
}

} // namespace
} // namespace zelvo::test
