#include "desktop/harness/PaintedWindowJson.h"

#include <boost/json/array.hpp>
#include <boost/json/value_to.hpp>

namespace zelvo::test {

namespace {

/// Visits the plain number, boolean and text fields by name.
template <class Window, class F>
void eachPlainField(Window& window, F visit)
{
    visit("x", window.x);
    visit("y", window.y);
    visit("width", window.width);
    visit("height", window.height);
    visit("color", window.color);
    visit("argb", window.argb);
    visit("inputOnly", window.inputOnly);
    visit("overrideRedirect", window.overrideRedirect);
    visit("mapped", window.mapped);
    visit("emptyInputShape", window.emptyInputShape);
    visit("border", window.border);
    visit("borderColor", window.borderColor);
    visit("parent", window.parent);
    visit("title", window.title);
    visit("instance", window.instance);
    visit("className", window.className);
    visit("gtkApplicationId", window.gtkApplicationId);
    visit("kdeDesktopFile", window.kdeDesktopFile);
    visit("type", window.type);
    visit("state", window.state);
}

} // namespace

boost::json::object toJson(PaintedWindow const& window)
{
    boost::json::object json;
    eachPlainField(window, [&](char const* name, auto const& field) { json[name] = field; });
    boost::json::array shape;
    for (PaintedArea const& area : window.shape)
        shape.push_back(boost::json::array{area.x, area.y, area.width, area.height});
    json["shape"] = std::move(shape);
    if (window.transientFor)
        json["transientFor"] = *window.transientFor;
    if (window.claimedPid)
        json["claimedPid"] = *window.claimedPid;
    if (auto const& extents = window.gtkFrameExtents)
        json["gtkFrameExtents"] = {(*extents)[0], (*extents)[1], (*extents)[2], (*extents)[3]};
    return json;
}

PaintedWindow windowFrom(boost::json::object const& json)
{
    PaintedWindow window;
    eachPlainField(window, [&]<class T>(char const* name, T& field) {
        field = boost::json::value_to<T>(json.at(name));
    });
    for (auto const& item : json.at("shape").as_array()) {
        auto const area = boost::json::value_to<std::vector<int>>(item);
        window.shape.push_back({area.at(0), area.at(1), area.at(2), area.at(3)});
    }
    if (auto const* owner = json.if_contains("transientFor"))
        window.transientFor = boost::json::value_to<std::uint32_t>(*owner);
    if (auto const* pid = json.if_contains("claimedPid"))
        window.claimedPid = boost::json::value_to<pid_t>(*pid);
    if (auto const* extents = json.if_contains("gtkFrameExtents"))
        window.gtkFrameExtents = boost::json::value_to<std::array<std::uint32_t, 4>>(*extents);
    return window;
}

} // namespace zelvo::test
