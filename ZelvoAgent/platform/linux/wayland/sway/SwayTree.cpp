#include "platform/linux/wayland/sway/SwayTree.h"

#include "wire/Json.h"

#include <algorithm>
#include <limits>
#include <map>
#include <string>
#include <utility>

namespace zelvo {

namespace {

/// What a window's place in the tree adds to what its node says.
struct Place {
    bool isInScratchpad = false; ///< hidden until somebody shows it
    bool isAmongTabs = false;    ///< the titles of its siblings share the place above it
};

LogicalRect rectOf(json::object const& node, std::string_view key)
{
    json::object const* const rect = read::object(node, key);
    if (!rect)
        return {};
    auto const part = [&](std::string_view name) { return read::number(*rect, name).value_or(0); };
    return {.x = part("x"), .y = part("y"), .width = part("width"), .height = part("height")};
}

std::string idOf(json::object const& node, std::string_view key)
{
    auto const id = read::integer(node, key);
    return id ? std::to_string(*id) : std::string();
}

/// The rectangle of a node has its borders, but not its title bar.
LogicalRect frameOf(json::object const& node, Place const& place)
{
    LogicalRect frame = rectOf(node, "rect");
    if (place.isAmongTabs)
        return frame;
    double const title = rectOf(node, "deco_rect").height;
    frame.y -= title;
    frame.height += title;
    return frame;
}

LogicalRect surfaceOf(json::object const& node)
{
    LogicalRect const whole = rectOf(node, "rect");
    LogicalRect inside = rectOf(node, "window_rect");
    inside.x += whole.x;
    inside.y += whole.y;
    return inside;
}

CompositorWindow::Kind kindOf(json::object const& properties)
{
    using Kind = CompositorWindow::Kind;
    static std::map<std::string, Kind, std::less<>> const kinds{
        {"dialog", Kind::dialog},        {"popup_menu", Kind::popup}, {"dropdown_menu", Kind::popup},
        {"tooltip", Kind::popup},        {"combo", Kind::popup},      {"menu", Kind::popup},
        {"notification", Kind::overlay}, {"splash", Kind::overlay}};
    auto const kind = kinds.find(read::text(properties, "window_type").value_or(std::string()));
    if (kind != kinds.end())
        return kind->second;
    return read::integer(properties, "transient_for") ? Kind::dialog : Kind::normal;
}

/// Walks through the tree. Its depth is that of the text, which parseJson() bounds.
class Reading {
public:
    void walk(json::object const& node, Place place)
    {
        if (read::text(node, "name") == "__i3_scratch")
            place.isInScratchpad = true;
        if (read::integer(node, "pid"))
            windows.push_back(windowOf(node, place));
        auto const layout = read::text(node, "layout");
        Place below = place;
        below.isAmongTabs = layout == "tabbed" || layout == "stacked";
        walkAll(node, "nodes", below);
        below.isAmongTabs = false;
        walkAll(node, "floating_nodes", below);
    }

    std::vector<CompositorWindow> take()
    {
        for (CompositorWindow& window : windows)
            if (auto const parent = byX11Id.find(window.parent); parent != byX11Id.end())
                window.parent = parent->second;
            else
                window.parent.clear();
        return std::move(windows);
    }

private:
    void walkAll(json::object const& node, std::string_view key, Place const& place)
    {
        json::array const* const below = read::array(node, key);
        if (!below)
            return;
        for (json::value const& child : *below)
            if (child.is_object())
                walk(child.get_object(), place);
    }

    CompositorWindow windowOf(json::object const& node, Place const& place)
    {
        CompositorWindow window;
        window.id = idOf(node, "id");
        if (auto const pid = read::integer(node, "pid").value_or(0);
            pid > 0 && pid <= std::numeric_limits<std::int32_t>::max())
            window.pid = static_cast<std::int32_t>(pid);
        window.title = read::text(node, "name").value_or("");
        window.words.kdeDesktopFile = read::text(node, "app_id").value_or("");
        window.frame = frameOf(node, place);
        window.surface = surfaceOf(node);
        window.isActive = read::boolean(node, "focused").value_or(false);
        window.isMinimized = place.isInScratchpad;
        window.isOnScreen = !place.isInScratchpad && read::boolean(node, "visible").value_or(false);
        window.isAbove =
            read::text(node, "type") == "floating_con" && read::boolean(node, "sticky").value_or(false);
        window.isFullScreen = read::integer(node, "fullscreen_mode").value_or(0) != 0;
        window.isX11 = read::text(node, "shell") == "xwayland";
        if (json::object const* const properties = read::object(node, "window_properties"))
            addX11(window, node, *properties);
        return window;
    }

    void addX11(CompositorWindow& window, json::object const& node, json::object const& properties)
    {
        window.words.instance = read::text(properties, "instance").value_or("");
        window.words.className = read::text(properties, "class").value_or("");
        window.kind = kindOf(properties);
        window.parent = idOf(properties, "transient_for"); // The X server's id; take() replaces it.
        byX11Id.emplace(idOf(node, "window"), window.id);
    }

    std::vector<CompositorWindow> windows;
    std::map<std::string, std::string> byX11Id;
};

} // namespace

std::optional<std::vector<CompositorWindow>> windowsOfTree(std::string_view text)
{
    auto const tree = parseJson(text);
    if (!tree || !tree->is_object() || read::text(tree->get_object(), "type") != "root")
        return std::nullopt;
    Reading reading;
    reading.walk(tree->get_object(), {});
    return reading.take();
}

bool hasSucceeded(std::string_view reply)
{
    auto const results = parseJson(reply);
    if (!results || !results->is_array() || results->get_array().empty())
        return false;
    return std::ranges::all_of(results->get_array(), [](json::value const& result) {
        return result.is_object() && read::boolean(result.get_object(), "success").value_or(false);
    });
}

} // namespace zelvo
