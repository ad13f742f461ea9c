#include "end_to_end/wayland/WaylandFixture.h"

#include "base/Base64.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace zelvo::test {

namespace {

namespace fs = std::filesystem;

std::string hexOf(std::uint32_t color)
{
    char text[8];
    std::snprintf(text, sizeof text, "#%06x", color & 0xffffffu);
    return text;
}

} // namespace

void OnWayland::SetUp()
{
    if (std::string const reason = WaylandMachine::missing(GetParam()); !reason.empty())
        GTEST_SKIP() << reason;
    machine.emplace(GetParam());
    gateway.emplace(desktop());
    agent.emplace(desktop(), gateway->port());
}

void OnWayland::startAsking()
{
    auto const made = gateway->provision();
    connection = made.connection;
    agent->makeUnattended(made.token);
    agent->store("zelvo.welcomeSeen", !machine->asks());
    agent->start();
    EXPECT_TRUE(waitFor([&] { return codeOf(command("permissions.get")) == "ok"; }, 20s)) << agent->output();
}

void OnWayland::startUnattended()
{
    startAsking();
    grant();
}

void OnWayland::startLinked(std::vector<std::string> const& scopes)
{
    agent->store("zelvo.welcomeSeen", !machine->asks());
    agent->start({gateway->newLink(scopes)});
    pressAll({"Allow"});
    require("the connection", [&] { return !gateway->connections().empty(); });
    connection = gateway->connections().front();
    grant();
}

void OnWayland::grant()
{
    if (machine->asks()) {
        pressAll({"Ask the desktop", "--then", "Later", "Start"});
        require("the grant", [&] { return mayAct(); }, 40s);
    }
    require("the permissions", [&] { return mayAct(); }, 20s);
}

void OnWayland::pressAll(std::vector<std::string> labels)
{
    labels.insert(labels.begin(), {"/usr/bin/python3", ZELVO_PRESS_ALLOW});
    desktop().run(std::move(labels), 30);
}

bool OnWayland::mayAct()
{
    Answer const answer = command("permissions.get");
    return answer.status == 200 && answer.body.at("result").at("accessibility") == true &&
           answer.body.at("result").at("screenRecording") == true;
}

pid_t OnWayland::openWriter(std::string const& name, std::uint32_t color, std::vector<std::string> more)
{
    // A program is also known by its file's name.
    fs::path const program = desktop().home() / "bin" / name;
    fs::create_directories(program.parent_path());
    fs::copy_file("/usr/bin/python3", program, fs::copy_options::skip_existing);
    std::vector<std::string> command = {program, ZELVO_WRITER, name, hexOf(color)};
    command.insert(command.end(), more.begin(), more.end());
    pid_t const pid = desktop().start(command, {{"GDK_BACKEND", "wayland"}});
    require(name, [&] { return says(pid, "mapped"); }, 20s);
    return pid;
}

bool OnWayland::says(pid_t writer, std::string const& words)
{
    return waitFor([&] { return said(writer).find(words) != std::string::npos; });
}

void OnWayland::waitForFront(std::string const& name)
{
    auto const isInFront = [&] {
        json::value const running = resultOf("apps.list");
        return std::ranges::any_of(running.as_array(), [&](json::value const& each) {
            return each.at("active") == true && each.at("bundleId").as_string() == name;
        });
    };
    require(name + " in front", isInFront, 20s);
}

OnWayland::Answer OnWayland::command(std::string const& method, json::object params)
{
    return gateway->command(connection, method, std::move(params));
}

json::value OnWayland::resultOf(std::string const& method, json::object params)
{
    Answer const answer = command(method, std::move(params));
    if (answer.status != 200)
        throw std::runtime_error(method + ": " + writeJson(answer.body));
    return answer.body.at("result");
}

std::string OnWayland::failureOf(std::string const& method, json::object params)
{
    return codeOf(command(method, std::move(params)));
}

std::string OnWayland::perform(json::array actions)
{
    return failureOf("actions.perform", {{"actions", std::move(actions)}});
}

std::string OnWayland::codeOf(Answer const& answer)
{
    if (answer.status == 200)
        return "ok";
    return std::string(answer.body.at("error").at("code").as_string());
}

Pixels OnWayland::picture()
{
    return pixelsIn(resultOf("screenshot", {{"format", "png"}}));
}

Pixels OnWayland::pixelsIn(json::value const& result)
{
    auto const bytes = base64::decode(std::string(result.at("data").as_string()));
    return pixelsOf(*bytes, std::string(result.at("mime").as_string()));
}

json::object const* OnWayland::find(json::object const& tree, std::string_view role, std::string_view title)
{
    for (json::value const& each : tree.at("elements").as_array()) {
        json::object const& element = each.as_object();
        if (read::text(element, "role") == role && read::text(element, "title").value_or("") == title)
            return &element;
    }
    return nullptr;
}

json::object OnWayland::treeWith(std::string_view role, std::string_view title)
{
    json::object seen;
    auto const isThere = [&] {
        seen = resultOf("ui.tree").as_object();
        json::object const* const found = find(seen, role, title);
        return found && found->contains("frame");
    };
    if (!waitFor(isThere))
        throw std::runtime_error("no place of " + std::string(title) + " in " + writeJson(seen));
    return seen;
}

PaintedArea OnWayland::placeOf(std::string_view role, std::string_view title)
{
    json::object const tree = treeWith(role, title);
    json::object const& frame = find(tree, role, title)->at("frame").as_object();
    auto const number = [&](char const* key) { return static_cast<int>(*read::number(frame, key)); };
    return {.x = number("x"), .y = number("y"), .width = number("w"), .height = number("h")};
}

json::object OnWayland::clickOn(std::string_view role, std::string_view title)
{
    PaintedArea const area = placeOf(role, title);
    return {{"type", "click"}, {"x", area.x + area.width / 2}, {"y", area.y + area.height / 2}};
}

int pixelsLike(Pixels const& pixels, std::uint32_t color)
{
    constexpr int tolerance = 8;
    int count = 0;
    for (int y = 0; y < pixels.height; ++y)
        for (int x = 0; x < pixels.width; ++x) {
            std::uint32_t const seen = pixelAt(pixels, x, y);
            bool isLike = true;
            for (int const shift : {16, 8, 0})
                isLike = isLike && std::abs(static_cast<int>(seen >> shift & 255) -
                                            static_cast<int>(color >> shift & 255)) <= tolerance;
            count += isLike;
        }
    return count;
}

std::uint32_t pixelAt(Pixels const& pixels, int x, int y)
{
    if (x < 0 || y < 0 || x >= pixels.width || y >= pixels.height)
        throw std::runtime_error("a point outside of the picture");
    std::size_t const at = 3 * (static_cast<std::size_t>(y) * pixels.width + x);
    return static_cast<std::uint32_t>(pixels.bytes[at] << 16 | pixels.bytes[at + 1] << 8 |
                                      pixels.bytes[at + 2]);
}

std::string nameOfCompositor(testing::TestParamInfo<Compositor> const& info)
{
    switch (info.param) {
    case Compositor::sway:
        return "sway";
    case Compositor::kwin:
        return "kwin";
    case Compositor::gnome:
        break;
    }
    return "gnome";
}

} // namespace zelvo::test
