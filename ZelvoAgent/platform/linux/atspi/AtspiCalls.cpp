#include "platform/linux/atspi/AtspiCalls.h"

#include <algorithm>

namespace zelvo::atspi {

namespace {

constexpr char const* properties = "org.freedesktop.DBus.Properties";
constexpr char const* textInterface = "org.a11y.atspi.Text";

} // namespace

Method methodOf(AtspiQuestion question)
{
    switch (question) {
    case AtspiQuestion::role:
        return {accessibleInterface, "GetRole"};
    case AtspiQuestion::states:
        return {accessibleInterface, "GetState"};
    case AtspiQuestion::interfaces:
        return {accessibleInterface, "GetInterfaces"};
    case AtspiQuestion::children:
        return {accessibleInterface, "GetChildren"};
    case AtspiQuestion::identifier:
        return {accessibleInterface, "GetAttributes"};
    case AtspiQuestion::properties:
        return {properties, "GetAll"};
    case AtspiQuestion::childCount:
    case AtspiQuestion::name:
    case AtspiQuestion::description:
    case AtspiQuestion::parent:
        return {properties, "Get"};
    case AtspiQuestion::extents:
        return {"org.a11y.atspi.Component", "GetExtents"};
    case AtspiQuestion::actions:
        return {actionInterface, "GetActions"};
    case AtspiQuestion::textLength:
        return {properties, "Get"};
    case AtspiQuestion::text:
        return {textInterface, "GetText"};
    case AtspiQuestion::labels:
        return {accessibleInterface, "GetRelationSet"};
    }
    return {};
}

void appendArguments(sd_bus_message* call,
                     AtspiNode const& node,
                     AtspiQuestion question,
                     AtspiToolkit const& toolkit)
{
    constexpr std::uint32_t ofTheScreen = 0;
    constexpr std::uint32_t ofTheWindow = 1;
    switch (question) {
    case AtspiQuestion::properties:
        sd_bus_message_append(call, "s", accessibleInterface);
        break;
    case AtspiQuestion::childCount:
        sd_bus_message_append(call, "ss", accessibleInterface, "ChildCount");
        break;
    case AtspiQuestion::name:
        sd_bus_message_append(call, "ss", accessibleInterface, "Name");
        break;
    case AtspiQuestion::description:
        sd_bus_message_append(call, "ss", accessibleInterface, "Description");
        break;
    case AtspiQuestion::parent:
        sd_bus_message_append(call, "ss", accessibleInterface, "Parent");
        break;
    case AtspiQuestion::extents:
        sd_bus_message_append(call, "u", toolkit.placesInWindow ? ofTheWindow : ofTheScreen);
        break;
    case AtspiQuestion::text:
        sd_bus_message_append(call, "ii", 0,
                              std::clamp(node.textLength.value_or(maxCharacters), 0, maxCharacters));
        break;
    case AtspiQuestion::textLength:
        sd_bus_message_append(call, "ss", textInterface, "CharacterCount");
        break;
    default:
        break;
    }
}

void appendRuleOfState(sd_bus_message* call, AtspiState state)
{
    constexpr std::int32_t all = 1;
    auto const number = static_cast<unsigned>(state);
    std::uint32_t const bits[] = {number < 32 ? 1u << number : 0, number < 32 ? 0 : 1u << (number - 32)};
    sd_bus_message_open_container(call, SD_BUS_TYPE_STRUCT, "aiia{ss}iaiiasib");
    sd_bus_message_append(call, "aii", 2, static_cast<std::int32_t>(bits[0]),
                          static_cast<std::int32_t>(bits[1]), all);
    sd_bus_message_append(call, "a{ss}i", 0, all);
    sd_bus_message_append(call, "aii", 4, 0, 0, 0, 0, all);
    sd_bus_message_append(call, "asib", 0, all, 0);
    sd_bus_message_close_container(call);
}

} // namespace zelvo::atspi
