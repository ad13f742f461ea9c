#pragma once

#include "platform/linux/atspi/AtspiNodes.h"
#include "platform/linux/atspi/AtspiToolkit.h"

#include <systemd/sd-bus.h>

#include <cstdint>

/// D-Bus calls for the questions about elements.
namespace zelvo::atspi {

inline constexpr char const* accessibleInterface = "org.a11y.atspi.Accessible";
inline constexpr char const* actionInterface = "org.a11y.atspi.Action";
/// Characters of an element's text that are requested.
inline constexpr std::int32_t maxCharacters = 1'000;

struct Method {
    char const* interface;
    char const* member;
};

Method methodOf(AtspiQuestion question);
/// Appends the arguments of a question's method.
/// node     the element in question
/// toolkit  that of the element's peer
void appendArguments(sd_bus_message* call,
                     AtspiNode const& node,
                     AtspiQuestion question,
                     AtspiToolkit const& toolkit);
/// Appends a rule of org.a11y.atspi.Collection that matches elements with this state.
void appendRuleOfState(sd_bus_message* call, AtspiState state);

} // namespace zelvo::atspi
