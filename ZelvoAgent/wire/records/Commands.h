#pragma once

#include "wire/records/RecordCodec.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// The records of the wire: parameters and results of the methods by which an agent sees and acts.
namespace zelvo::records {

enum class TypeEnum {
    click,
    clickElement,
    drag,
    key,
    mouseDown,
    mouseUp,
    move,
    scroll,
    setValue,
    type,
    wait
};
enum class MouseButton { middle, mouseButtonLeft, mouseButtonRight };
enum class Modifier { alt, cmd, ctrl, fn, shift, win };
enum class ScreenshotRequestFormat { jpeg, png };
enum class Response { base64, binary };
enum class UITreeRequestFormat { compact, json };
enum class UITreeScope { allWindows, frontmost, menuBar };

} // namespace zelvo::records

namespace zelvo {

template <>
struct EnumTexts<records::TypeEnum> {
    static constexpr std::array<std::string_view, 11> texts = {
        "click", "click_element", "drag",      "key",  "mouse_down", "mouse_up",
        "move",  "scroll",        "set_value", "type", "wait"};
};
template <>
struct EnumTexts<records::MouseButton> {
    static constexpr std::array<std::string_view, 3> texts = {"middle", "left", "right"};
};
template <>
struct EnumTexts<records::Modifier> {
    static constexpr std::array<std::string_view, 6> texts = {"alt", "cmd", "ctrl", "fn", "shift", "win"};
};
template <>
struct EnumTexts<records::ScreenshotRequestFormat> {
    static constexpr std::array<std::string_view, 2> texts = {"jpeg", "png"};
};
template <>
struct EnumTexts<records::Response> {
    static constexpr std::array<std::string_view, 2> texts = {"base64", "binary"};
};
template <>
struct EnumTexts<records::UITreeRequestFormat> {
    static constexpr std::array<std::string_view, 2> texts = {"compact", "json"};
};
template <>
struct EnumTexts<records::UITreeScope> {
    static constexpr std::array<std::string_view, 3> texts = {"all_windows", "frontmost", "menu_bar"};
};

} // namespace zelvo

namespace zelvo::records {

struct Point {
    double x{};
    double y{};
    bool operator==(Point const&) const = default;
};
BOOST_DESCRIBE_STRUCT(Point, (), (x, y))
using From = Point;
using To = Point;

struct Action {
    TypeEnum type{};
    std::optional<double> x;
    std::optional<double> y;
    std::optional<MouseButton> button;
    std::optional<std::int64_t> count;
    std::optional<std::vector<Modifier>> modifiers;
    std::optional<std::int64_t> durationMs;
    std::optional<From> from;
    std::optional<To> to;
    std::optional<double> dx;
    std::optional<double> dy;
    std::optional<std::string> text;
    std::optional<std::vector<std::string>> keys;
    std::optional<std::int64_t> ms;
    std::optional<std::string> elementId;
    std::optional<std::string> snapshotId;
    bool operator==(Action const&) const = default;
};
BOOST_DESCRIBE_STRUCT(Action,
                      (),
                      (type,
                       x,
                       y,
                       button,
                       count,
                       modifiers,
                       durationMs,
                       from,
                       to,
                       dx,
                       dy,
                       text,
                       keys,
                       ms,
                       elementId,
                       snapshotId))

struct ElementFrame {
    double x{};
    double y{};
    double w{};
    double h{};
    bool operator==(ElementFrame const&) const = default;
};
BOOST_DESCRIBE_STRUCT(ElementFrame, (), (x, y, w, h))

struct ScreenshotRequest {
    ScreenshotRequestFormat format{};
    std::optional<std::int64_t> maxWidth;
    std::int64_t quality{};
    Response response{};
    bool operator==(ScreenshotRequest const&) const = default;
};
BOOST_DESCRIBE_STRUCT(ScreenshotRequest, (), (format, maxWidth, quality, response))

struct Screenshot {
    json::string data; ///< base64; as long as a picture
    std::int64_t heightPoints{};
    std::int64_t imageHeight{};
    std::int64_t imageWidth{};
    std::string mime;
    std::optional<ElementFrame> region; ///< an addition of our own
    double scale{};
    std::int64_t widthPoints{};
    bool operator==(Screenshot const&) const = default;
};
BOOST_DESCRIBE_STRUCT(Screenshot,
                      (),
                      (data, heightPoints, imageHeight, imageWidth, mime, region, scale, widthPoints))

/// The result of a method of our own.
struct ScreenSettled {
    std::int64_t elapsedMs{};
    bool settled{};
    bool operator==(ScreenSettled const&) const = default;
};
BOOST_DESCRIBE_STRUCT(ScreenSettled, (), (elapsedMs, settled))

struct UITreeRequest {
    UITreeRequestFormat format{};
    bool interactiveOnly{};
    UITreeScope scope{};
    bool operator==(UITreeRequest const&) const = default;
};
BOOST_DESCRIBE_STRUCT(UITreeRequest, (), (format, interactiveOnly, scope))

struct AppClass {
    std::string bundleId;
    std::string name;
    bool operator==(AppClass const&) const = default;
};
BOOST_DESCRIBE_STRUCT(AppClass, (), (bundleId, name))

struct UIElement {
    std::vector<std::string> actions;
    std::optional<std::string> description;
    bool enabled{};
    bool focused{};
    ElementFrame frame;
    std::string id;
    std::optional<std::string> identifier;
    std::string role;
    std::optional<std::string> subrole;
    std::optional<std::string> title;
    std::optional<std::string> value;
    bool operator==(UIElement const&) const = default;
};
BOOST_DESCRIBE_STRUCT(
    UIElement,
    (),
    (actions, description, enabled, focused, frame, id, identifier, role, subrole, title, value))

struct UITree {
    std::optional<AppClass> app;
    std::optional<std::string> compact;
    std::vector<UIElement> elements;
    std::optional<std::string> framesRelativeTo;
    std::string snapshotId;
    bool truncated{};
    bool operator==(UITree const&) const = default;
};
BOOST_DESCRIBE_STRUCT(UITree, (), (app, compact, elements, framesRelativeTo, snapshotId, truncated))

/// The result of a method of our own.
struct UIWaited {
    std::int64_t elapsedMs{};
    std::optional<UIElement> element;
    std::optional<std::string> framesRelativeTo;
    bool matched{};
    std::optional<std::string> snapshotId;
    bool operator==(UIWaited const&) const = default;
};
BOOST_DESCRIBE_STRUCT(UIWaited, (), (elapsedMs, element, framesRelativeTo, matched, snapshotId))

} // namespace zelvo::records
