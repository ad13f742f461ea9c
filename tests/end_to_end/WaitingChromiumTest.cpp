#include "desktop/harness/Chromium.h"
#include "end_to_end/CommandsFixture.h"

namespace zelvo::test {
namespace {

/// A page on which a key changes what is there, some time later.
class WaitingInChromium : public Commands {
protected:
    static constexpr char const* page = R"html(<!doctype html><title>Post</title>
<h1>Letters</h1><p id="sending">Sending</p><button id="next" disabled>Next</button>
<label>State <input id="state" value="new"></label><p id="place"></p>
<script>
const changes = {
    a: () => { place.innerHTML = "<button>Read</button>" },
    d: () => { sending.remove() },
    e: () => { next.disabled = false },
    v: () => { state.value = "sent" },
    f: () => { state.focus() }
};
addEventListener("keydown", event => setTimeout(changes[event.key], 300));
</script>)html";

    void SetUp() override
    {
        connection = startUnattended();
        std::filesystem::path const file = desktop.home() / "post.html";
        write(file, page);
        desktop.start(chromiumCommand(desktop.home() / "profile", {file.string()}));
        desktop.waitForWindow({.title = "Post"}, 60s);
        json::value const shown =
            resultOf("ui.wait", {{"role", "AXButton"}, {"name", "Next"}, {"timeoutMs", 40'000}});
        ASSERT_EQ(shown.at("matched"), true);
    }

    /// Presses the key during a wait; what the wait then answers.
    json::value waitedFor(std::string const& key, json::object params)
    {
        params["timeoutMs"] = 30'000;
        auto answer = commanding("ui.wait", std::move(params));
        EXPECT_EQ(answer.wait_for(700ms), std::future_status::timeout) << "before the key";
        press(key);
        EXPECT_EQ(answer.wait_for(10s), std::future_status::ready);
        json::value const body = answer.get().body;
        EXPECT_TRUE(body.as_object().contains("result")) << writeJson(body);
        return body.at("result");
    }
};

TEST_F(WaitingInChromium, isOverWhenAButtonAppears)
{
    json::value const found = waitedFor("a", {{"role", "AXButton"}, {"name", "Read"}});

    EXPECT_EQ(found.at("matched"), true);
    EXPECT_EQ(found.at("element").at("title"), "Read");
}

TEST_F(WaitingInChromium, isOverWhenATextDisappears)
{
    json::value const gone = waitedFor("d", {{"name", "Sending"}, {"until", "disappears"}});

    EXPECT_EQ(gone.at("matched"), true);
}

TEST_F(WaitingInChromium, isOverWhenAButtonIsEnabled)
{
    json::value const ready = waitedFor("e", {{"role", "AXButton"}, {"name", "Next"}, {"until", "enabled"}});

    EXPECT_EQ(ready.at("element").at("enabled"), true);
}

TEST_F(WaitingInChromium, isOverWhenAFieldHasTheValue)
{
    json::value const sent = waitedFor("v", {{"name", "State"}, {"until", "value"}, {"value", "sent"}});

    EXPECT_EQ(sent.at("element").at("value"), "sent");
}

TEST_F(WaitingInChromium, isOverWhenAFieldHasTheFocus)
{
    json::value const focused = waitedFor("f", {{"name", "State"}, {"until", "focused"}});

    EXPECT_EQ(focused.at("element").at("focused"), true);
}

} // namespace
} // namespace zelvo::test
