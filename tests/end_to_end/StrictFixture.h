#pragma once

#include "end_to_end/ConfirmingFixture.h"

#include <filesystem>
#include <fstream>

namespace zelvo::test {

/// Tries to press a button past the question, with the strict guard switched on by another program.
class Strict : public Confirming {
protected:
    void setStrict(bool on) { store("zelvo.strictGuard", on); }

    void hide(std::vector<std::string> const& names)
    {
        store("dev.zelvo.hiddenApps", json::array(names.begin(), names.end()));
    }

    static json::value down(json::value const& click) { return pointer("mouse_down", click); }
    static json::value up(json::value const& click) { return pointer("mouse_up", click); }
    static json::value with(json::value const& click, std::string_view button)
    {
        json::object action = click.as_object();
        action["button"] = button;
        return action;
    }
    static json::value drag(json::value const& from, json::value const& to)
    {
        return {{"type", "drag"}, {"from", point(from)}, {"to", point(to)}, {"durationMs", 200}};
    }
    static json::value type(char const* text) { return {{"type", "type"}, {"text", text}}; }
    json::value setValue(std::string_view role, std::string_view title, char const* text)
    {
        json::object action = elementClick(role, title).as_object();
        action["type"] = "set_value";
        action["text"] = text;
        return action;
    }

    struct Attack {
        char const* name;
        json::array actions;
    };
    /// Each attack is asked about and has no effect after a no.
    template <class HasEffect>
    void expectHeld(std::vector<Attack> const& attacks, HasEffect hasEffect)
    {
        for (Attack const& attack : attacks) {
            SCOPED_TRACE(attack.name);
            auto answer = performing(attack.actions);
            if (!waitFor([&] { return isOpen("Zelvo") || isOver(answer); }, 15s) || isOver(answer)) {
                ADD_FAILURE() << "was not asked about: " << codeOf(answer.get());
                continue;
            }
            answerPanel("Escape");
            EXPECT_EQ(codeOf(answer.get()), "denied_by_user");
            EXPECT_FALSE(hasEffect());
        }
    }

private:
    /// Replaces a stored value, as another program would.
    void store(std::string const& key, json::value const& value)
    {
        auto const folder = desktop.configHome() / "dev.zelvo.agent" / "defaults";
        std::filesystem::create_directories(folder);
        auto const next = folder / "next";
        std::ofstream(next) << writeJson(value);
        std::filesystem::rename(next, folder / (key + ".json"));
    }
    static bool isOver(std::future<Answer> const& answer)
    {
        return answer.wait_for(0s) == std::future_status::ready;
    }
    static json::object point(json::value const& click)
    {
        return {{"x", click.at("x")}, {"y", click.at("y")}};
    }
    static json::value pointer(std::string_view type, json::value const& click)
    {
        json::object action = point(click);
        action["type"] = type;
        return action;
    }
};

} // namespace zelvo::test
