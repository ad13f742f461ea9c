#include "soak/SoakCommands.h"

#include "base/Base64.h"

#include <array>
#include <stdexcept>

namespace zelvo::test {

namespace {

// No key of the layout (us) gives these, so each text borrows keys and gives them back.
constexpr std::array<char const*, 4> foreignTexts{"Привет, мир", "你好世界", "Ελλάδα", "こんにちは €"};

json::array keys(std::initializer_list<char const*> names)
{
    return json::array(names.begin(), names.end());
}

/// Places that lie further apart than a double click allows, so that no click waits for the last.
DesktopPoint placeOf(SoakStage const& stage, int turn)
{
    return stage.pointInField(40 + turn % 7 * 30, 30 + turn % 5 * 30);
}

void require(bool holds, char const* what)
{
    if (!holds)
        throw std::runtime_error(what);
}

void exchangeFile(SoakStage const& stage, int turn)
{
    std::string const content(static_cast<std::size_t>(1000 + turn % 9 * 5000),
                              static_cast<char>('a' + turn % 26));
    std::string const data =
        base64::encode({reinterpret_cast<unsigned char const*>(content.data()), content.size()});
    std::string const path = (stage.folder() / ("file" + std::to_string(turn % 10))).string();
    stage.command("files.upload.begin", {{"path", path}, {"data", data}});
    require(stage.command("files.download", {{"path", path}}).at("data") == json::string(data),
            "another file came back");
}

void exchangeClipboard(SoakStage const& stage, int turn)
{
    std::string const text = "text " + std::to_string(turn);
    stage.command("clipboard.set", {{"text", text}});
    require(stage.command("clipboard.get").at("text") == json::string(text), "another text came back");
}

void runShell(SoakStage const& stage, int turn)
{
    json::value const result = stage.command("shell.run", {{"command", "echo " + std::to_string(turn)}});
    require(result.at("stdout") == json::string(std::to_string(turn) + "\n"), "another output came back");
}

} // namespace

std::vector<SoakCommand> soakCommands(SoakStage const& stage)
{
    auto const at = [&stage](int turn, json::object action) {
        DesktopPoint const place = placeOf(stage, turn);
        action["x"] = place.x;
        action["y"] = place.y;
        stage.act(std::move(action));
    };
    auto const type = [&stage](std::string const& text) { stage.act({{"type", "type"}, {"text", text}}); };
    auto const borrowed = [type](int) {
        for (char const* const text : foreignTexts)
            type(text);
    };
    auto const ask = [&stage](char const* method) {
        return [&stage, method](int) { stage.command(method); };
    };
    return {
        {"chord", [&stage](int) { stage.act({{"type", "key"}, {"keys", keys({"ctrl", "a"})}}); }},
        {"borrowed", borrowed},
        {"plain", [type](int turn) { type("Plain text " + std::to_string(turn)); }},
        {"move", [at](int turn) { at(turn, {{"type", "move"}}); }},
        {"click", [at](int turn) { at(turn, {{"type", "click"}}); }},
        {"scroll", [at](int turn) { at(turn, {{"type", "scroll"}, {"dy", turn % 2 ? 106 : -106}}); }},
        {"tree", ask("ui.tree")},
        {"screenshot", ask("screenshot")},
        {"settle", ask("screen.settle")},
        {"wait", [&stage](int) { stage.command("ui.wait", {{"role", "AXButton"}, {"timeoutMs", 300}}); }},
        {"apps", ask("apps.list")},
        {"windows", ask("windows.list")},
        {"shell", [&stage](int turn) { runShell(stage, turn); }},
        {"files", [&stage](int turn) { exchangeFile(stage, turn); }},
        {"clipboard", [&stage](int turn) { exchangeClipboard(stage, turn); }},
    };
}

} // namespace zelvo::test
