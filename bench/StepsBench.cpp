// Workload: typical steps of an agent in real programs, through the built gateway and the built agent: a text
// typed into an editor, a file renamed in a file manager, a field filled in a form in Chromium. Measures the
// length of what "desktop_act" answers, a list of changes, against what "desktop_see" answers, the whole
// tree: characters, because a token is about as many of them in both.

#include "McpLine.h"
#include "RatioTable.h"
#include "desktop/harness/Chromium.h"
#include "desktop/harness/PrivateDesktop.h"
#include "desktop/harness/WaitFor.h"
#include "end_to_end/AgentProgram.h"
#include "end_to_end/GatewayProgram.h"

#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace zelvo {

namespace {

namespace fs = std::filesystem;

constexpr double maxPart = 0.2;

constexpr char const* page = R"html(<!doctype html><title>Order</title>
<nav><a href="#1">Home</a> <a href="#2">Goods</a> <a href="#3">Help</a> <a href="#4">Account</a></nav>
<form><label>Name <input></label><label>Street <input></label><label>Town <input></label>
<label>Country <select><option>Estonia<option>Finland<option>Latvia</select></label>
<label>Pieces <input inputmode="numeric"></label><label><input type="checkbox"> Gift</label>
<label><input type="radio" name="way"> Post</label><label><input type="radio" name="way"> Courier</label>
<label>Remarks <textarea></textarea></label><button>Continue</button><button>Cancel</button></form>)html";

/// Characters of the answers, by the name of the step.
struct Lengths {
    double changes = 0;
    double whole = 0;
};
std::map<std::string, Lengths> all;

json::object typed(std::string_view text)
{
    return {{"type", "type"}, {"text", text}};
}

json::object pressed(std::initializer_list<char const*> keys)
{
    return {{"type", "key"}, {"keys", json::array(keys.begin(), keys.end())}};
}

/// A desktop with a gateway, and an agent that nobody attends to.
class Stage {
public:
    Stage()
    {
        agent.makeUnattended(place.token);
        agent.start();
        if (!gateway.comesOnline(place.connection))
            throw std::runtime_error("the machine is not online");
        test::require("the right to act", [this] {
            auto const answer = gateway.command(place.connection, "permissions.get");
            return answer.status == 200 && answer.body.at("result").at("accessibility") == true;
        });
    }

    /// One step, after a look at everything or only at what can be operated.
    Lengths step(json::array actions, bool interactiveOnly = true)
    {
        std::string const whole = see.textOf({{"interactiveOnly", interactiveOnly}});
        std::string const told = act.textOf({{"actions", std::move(actions)}});
        if (told.find("changes since") == told.npos)
            throw std::runtime_error("no list of changes: " + told);
        return {.changes = lengthOfList(told), .whole = lengthOfList(whole)};
    }

    Lengths edits()
    {
        desktop.start({"mousepad", "--disable-server"});
        desktop.waitForWindow({.className = "Mousepad"});
        rest();
        return step({typed("Bread, butter and a dozen eggs")});
    }
    Lengths renames()
    {
        fs::path const folder = desktop.home() / "papers";
        fs::create_directories(folder);
        for (int i = 10; i < 22; ++i)
            std::ofstream(folder / ("letter " + std::to_string(i) + ".txt")) << "Dear Ada";
        desktop.start({"thunar", folder.string()});
        desktop.waitForWindow({.title = "papers"}, std::chrono::seconds(60));
        rest();
        act.textOf({{"actions", {pressed({"ctrl", "2"})}}}); // The icons have no elements.
        std::string const seen = see.textOf({{"interactiveOnly", false}});
        Lengths const lengths = step({{{"type", "click"}, {"ref", refBefore(seen, "cell \"letter 10.txt\"")}},
                                      pressed({"f2"}),
                                      pressed({"ctrl", "a"}),
                                      typed("answer.txt"),
                                      pressed({"return"})},
                                     false);
        if (!fs::exists(folder / "answer.txt"))
            throw std::runtime_error("the file was not renamed");
        return lengths;
    }
    Lengths fills()
    {
        fs::path const file = desktop.home() / "order.html";
        std::ofstream(file) << page;
        desktop.start(test::chromiumCommand(desktop.home() / "profile", {file.string()}));
        desktop.waitForWindow({.title = "Order"}, std::chrono::seconds(60));
        wait.textOf({{"role", "button"}, {"name", "Continue"}, {"timeoutMs", 40'000}});
        rest();
        std::string const seen = see.textOf({});
        return step({{{"type", "click"}, {"ref", refBefore(seen, "textfield \"Town\"")}}, typed("Tartu")});
    }

private:
    /// Until the program is drawn.
    void rest() { see.textOf({{"settle", 1'000}}); }

    /// Characters of the lines for elements and changes.
    static double lengthOfList(std::string const& told)
    {
        std::size_t length = 0;
        std::istringstream lines(told);
        for (std::string line; std::getline(lines, line);)
            if (std::string_view("[~+-=").find(line.front()) != std::string_view::npos)
                length += line.size() + 1;
        return static_cast<double>(length);
    }
    static std::string refBefore(std::string const& seen, std::string const& what)
    {
        std::size_t const found = seen.find("] " + what);
        std::size_t const open = found == seen.npos ? found : seen.rfind('[', found);
        if (open == seen.npos)
            throw std::runtime_error("no " + what + " in " + seen);
        return seen.substr(open + 1, found - open - 1);
    }
    McpLine lineTo(std::string const& tool) const
    {
        return {gateway.port(), place.connection, gateway.authorization(), tool};
    }

    test::PrivateDesktop desktop{{.width = 1280, .height = 1024}};
    test::GatewayProgram gateway{desktop};
    test::GatewayProgram::Provisioned const place = gateway.provision();
    test::AgentProgram agent{desktop, gateway.port()};
    McpLine see = lineTo("desktop_see");
    McpLine act = lineTo("desktop_act");
    McpLine wait = lineTo("desktop_wait");
};

void does(benchmark::State& state, std::string const& name, Lengths (Stage::*step)())
{
    Stage stage;
    for (auto _ : state)
        all[name] = (stage.*step)();
}

Ratio ratio(std::string const& name, std::string const& title)
{
    auto const lengths = [name] {
        Lengths const& found = all[name];
        if (found.whole == 0)
            throw std::out_of_range("not measured"); // As RatioTable expects of what was filtered out.
        return found;
    };
    return {.what = title,
            .against = "the whole tree",
            .measured = [lengths](Times const&) { return lengths().changes; },
            .baseline = [lengths](Times const&) { return lengths().whole; },
            .atMost = maxPart,
            .unit = "ch"};
}

} // namespace

} // namespace zelvo

int main(int count, char** arguments)
{
    using namespace zelvo;
    benchmark::RegisterBenchmark("editor", does, "editor", &Stage::edits)->Iterations(1)->UseRealTime();
    benchmark::RegisterBenchmark("files", does, "files", &Stage::renames)->Iterations(1)->UseRealTime();
    benchmark::RegisterBenchmark("form", does, "form", &Stage::fills)->Iterations(1)->UseRealTime();
    return runWithRatios(count, arguments,
                         {ratio("editor", "changes: a text typed into an editor"),
                          ratio("files", "changes: a file renamed"),
                          ratio("form", "changes: a field of a form filled in")});
}
