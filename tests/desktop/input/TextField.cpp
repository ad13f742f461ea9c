#include "desktop/input/TextField.h"

#include "desktop/harness/Chromium.h"
#include "desktop/harness/XQuestions.h"

#include <fstream>
#include <sstream>

namespace zelvo::test {

namespace {

std::string contentOf(std::string const& path)
{
    std::ifstream file(path, std::ios::binary);
    std::stringstream content;
    content << file.rdbuf();
    return content.str();
}

std::string script(std::string const& name)
{
    return std::string(ZELVO_INPUT_TEST_FOLDER) + "/" + name;
}

WindowWanted windowOf(FieldKind kind)
{
    switch (kind) {
    case FieldKind::gtk:
        return {.title = "GTK field"};
    case FieldKind::qt:
        return {.title = "Qt field"};
    case FieldKind::xterm:
        return {.title = "Terminal field"};
    case FieldKind::chromium:
        return {.title = "Web field"};
    }
    return {};
}

std::vector<std::string> browser(PrivateDesktop& desktop, std::string const& path, std::string const& text)
{
    std::string const portFile = path + ".port";
    desktop.start({"/usr/bin/python3", script("web_field.py"), portFile, path, text});
    require("the page's server", [&] { return !contentOf(portFile).empty(); });
    return chromiumCommand(path + ".profile", {"--app=http://127.0.0.1:" + contentOf(portFile) + "/"});
}

} // namespace

TextField::TextField(PrivateDesktop& desktop, FieldKind kind, std::string text)
    : desktop(desktop), path((desktop.home() / ("field" + std::to_string(static_cast<int>(kind)))).string())
{
    process = desktop.start(command(kind, text), {{"LANG", "C.UTF-8"}});
    mainWindow = desktop.waitForWindow(windowOf(kind));
    require(
        "the field's focus",
        [&] { return std::filesystem::exists(path) && desktop.activeWindow() == mainWindow; }, 20s);
}

std::vector<std::string> TextField::command(FieldKind kind, std::string const& text) const
{
    switch (kind) {
    case FieldKind::gtk:
        return {"/usr/bin/python3", script("gtk_field.py"), path, text};
    case FieldKind::qt:
        return {ZELVO_QT_FIELD, path, text};
    case FieldKind::xterm:
        return {"xterm",          "-u8", "-T",
                "Terminal field", "-e",  "stty -icanon -echo; exec cat > '" + path + "'"};
    case FieldKind::chromium:
        return browser(desktop, path, text);
    }
    return {};
}

std::string TextField::read(std::string const& suffix) const
{
    return contentOf(path + suffix);
}

int TextField::scroll() const
{
    std::string const text = read(".scroll");
    return text.empty() ? 0 : std::stoi(text);
}

DesktopPoint TextField::pointIn(int x, int y) const
{
    XConnection const server = connectTo(desktop.display());
    auto const asked = xcb_translate_coordinates(server.get(), mainWindow, screenOf(server.get())->root,
                                                 static_cast<std::int16_t>(x), static_cast<std::int16_t>(y));
    XReply<xcb_translate_coordinates_reply_t> const place(
        xcb_translate_coordinates_reply(server.get(), asked, nullptr));
    return {static_cast<double>(place->dst_x), static_cast<double>(place->dst_y)};
}

std::string TextField::valueAfter(std::string const& expected) const
{
    std::string last = value();
    while (last != expected && waitFor([&] { return value() != last; }, 8s))
        last = value();
    return last;
}

} // namespace zelvo::test
