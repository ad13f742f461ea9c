#pragma once

#include "platform/linux/atspi/AtspiNodes.h"
#include "platform/linux/atspi/AtspiToolkit.h"

#include <systemd/sd-bus.h>

#include <cstdint>

/// How questions about elements are put to applications over AT-SPI.
namespace zelvo::atspi {

inline constexpr char const* accessibleInterface = "org.a11y.atspi.Accessible";
inline constexpr char const* actionInterface = "org.a11y.atspi.Action";
/// As much of an element's text as is asked for.
inline constexpr std::int32_t maxCharacters = 1'000;

struct Method {
    char const* interface;
    char const* member;
};

Method methodOf(AtspiQuestion question);
/// Appends the arguments of a question's method. node: whom it is put to; toolkit: that of its peer
void appendArguments(sd_bus_message* call,
                     AtspiNode const& node,
                     AtspiQuestion question,
                     AtspiToolkit const& toolkit);
/// Appends a rule of org.a11y.atspi.Collection: what has this state, whatever else it is.
void appendRuleOfState(sd_bus_message* call, AtspiState state);

} // namespace zelvo::atspi
