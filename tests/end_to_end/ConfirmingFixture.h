#pragma once

#include "end_to_end/ReadingFixture.h"

#include <csignal>
#include <future>
#include <string_view>

namespace zelvo::test {

/// Acts on applications with committing actions; the test answers as the user.
class Confirming : public Reading {
protected:
    using Answer = GatewayProgram::Answer;

    std::string connection;
    pid_t application = 0;

    void openLetter(Toolkit toolkit)
    {
        TestApplication const letter = test::letter(desktop, toolkit);
        application = desktop.start(letter.command);
        letterWindow = desktop.waitForWindow(letter.window, 60s);
        require("the letter in front", [&] { return desktop.activeWindow() == letterWindow; }, 20s);
    }
    std::string said() { return desktop.processes().output(application); }
    bool says(std::string const& words)
    {
        return waitFor([&] { return said().find(words) != std::string::npos; });
    }

    /// Number of letters in the field of the GTK letter.
    std::size_t lettersTyped()
    {
        constexpr std::string_view before = "swapped with ";
        std::size_t const known = said().rfind(before);
        ::kill(application, SIGUSR1);
        require("the number of letters", [&] {
            std::string const all = said();
            return all.rfind(before) != known && all.ends_with("letters\n");
        });
        std::string const all = said();
        return std::stoul(all.substr(all.rfind(before) + before.size()));
    }

    std::future<Answer> performing(json::array actions)
    {
        return std::async(std::launch::async, [this, actions = std::move(actions)] {
            return gateway.command(connection, "actions.perform", {{"actions", actions}});
        });
    }
    Answer perform(json::array actions) { return performing(std::move(actions)).get(); }
    static std::string codeOf(Answer const& answer)
    {
        if (answer.status == 200)
            return "ok";
        return std::string(answer.body.at("error").at("code").as_string());
    }

    /// Waits until the panel has the keyboard focus.
    std::uint32_t waitForPanel()
    {
        auto const panel = desktop.waitForWindow({.title = "Zelvo"});
        require("the focus of the panel", [&] { return desktop.activeWindow() == panel; });
        return panel;
    }
    /// Presses a key on the panel like a user. A yes counts only after a moment without keys, so it may take
    /// several presses.
    void answerPanel(std::string const& key)
    {
        auto const panel = waitForPanel();
        for (int tries = 0; tries < 5 && desktop.activeWindow() == panel; ++tries) {
            press(key);
            waitFor([&] { return !isOpen("Zelvo"); }, 700ms);
        }
        ASSERT_FALSE(isOpen("Zelvo"));
    }
    void tickRemember()
    {
        waitForPanel();
        press("Tab"); // From the text to the check box.
        press("space");
    }
    std::string askedAnd(std::string const& key, json::array actions)
    {
        auto answer = performing(std::move(actions));
        answerPanel(key);
        return codeOf(answer.get());
    }

    json::value clickOn(std::string_view role, std::string_view title, std::string_view button = "left")
    {
        json::object action =
            parseJson(centerOf(find(treeWith(connection, role, title), role, title)))->as_object();
        action["button"] = button;
        return action;
    }
    json::value elementClick(std::string_view role, std::string_view title)
    {
        json::object const seen = treeWith(connection, role, title);
        return {{"type", "click_element"},
                {"snapshotId", seen.at("snapshotId")},
                {"elementId", find(seen, role, title).at("id")}};
    }
    static json::value key(std::initializer_list<char const*> keys)
    {
        return {{"type", "key"}, {"keys", json::array(keys.begin(), keys.end())}};
    }

    std::uint32_t letterWindow = 0;
};

} // namespace zelvo::test
