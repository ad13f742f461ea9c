#pragma once

#include "end_to_end/CommandsFixture.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace zelvo::test {

/// The program's own windows, read over the accessibility bus and used with the mouse, like a person does.
class OwnWindowsFixture : public Commands {
protected:
    // Says what a screen reader says when it starts; without it the toolkit publishes nothing.
    void SetUp() override
    {
        desktop.run({"dbus-send", "--session", "--print-reply", "--dest=org.a11y.Bus", "/org/a11y/bus",
                     "org.freedesktop.DBus.Properties.Set", "string:org.a11y.Status",
                     "string:ScreenReaderEnabled", "variant:boolean:true"});
    }
    std::uint32_t openMain()
    {
        connection = startUnattended();
        EXPECT_EQ(agent.startAgain({}), 0);
        return waitForMainWindow();
    }
    /// Lines of JSON that screen_reader.py prints.
    std::vector<json::object> read(std::string const& what, std::vector<std::string> const& arguments = {})
    {
        std::vector<std::string> command{"/usr/bin/python3", ZELVO_SCREEN_READER, what,
                                         std::to_string(agent.pid())};
        command.insert(command.end(), arguments.begin(), arguments.end());
        std::istringstream lines(whatItPrints(command));
        std::vector<json::object> all;
        for (std::string line; std::getline(lines, line);)
            if (line.starts_with('{')) // Libraries print warnings.
                all.push_back(parseJson(line)->as_object());
        return all;
    }
    /// A program joins the bus a moment after its window is there, and a reader that came too early does not
    /// see it any more.
    std::string whatItPrints(std::vector<std::string> const& command)
    {
        std::string printed;
        std::string failure;
        bool const worked = waitFor([&] {
            try {
                printed = desktop.run(command);
                return true;
            } catch (std::runtime_error const& error) {
                failure = error.what();
                return false;
            }
        });
        if (!worked)
            throw std::runtime_error(failure);
        return printed;
    }
    static std::string text(json::object const& element, char const* key)
    {
        return std::string(element.at(key).as_string());
    }
    static bool has(json::object const& element, std::string_view state)
    {
        return std::ranges::any_of(element.at("states").as_array(),
                                   [&](json::value const& each) { return each.as_string() == state; });
    }
    /// Waits for an element that shows; the name may be a part.
    json::object named(std::string const& name, std::string const& role)
    {
        json::object found;
        require(role + " " + name, [&] {
            for (json::object const& element : read("tree"))
                if (text(element, "name").find(name) != std::string::npos && text(element, "role") == role &&
                    has(element, "showing"))
                    found = element;
            return !found.empty();
        });
        return found;
    }
    struct Place {
        int x = 0;
        int y = 0;
    };
    static Place middleOf(json::object const& element)
    {
        json::array const& bounds = element.at("bounds").as_array();
        auto const number = [&](int at) { return static_cast<int>(bounds[at].as_int64()); };
        return {number(0) + number(2) / 2, number(1) + number(3) / 2};
    }
    void moveTo(Place place)
    {
        desktop.run({"xdotool", "mousemove", std::to_string(place.x), std::to_string(place.y)});
    }
    /// Clicks with the mouse.
    void use(std::string const& name, std::string const& role)
    {
        moveTo(middleOf(named(name, role)));
        desktop.run({"xdotool", "click", "1"});
    }
};

} // namespace zelvo::test
