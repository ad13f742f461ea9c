#pragma once

#include "wire/EnumText.h"

namespace zelvo {

/// Whether the machine can be operated just now.
enum class Availability { asleep, noGUISession, ready, screenLocked };

template <>
struct EnumTexts<Availability> {
    static constexpr std::array<std::string_view, 4> texts = {"asleep", "no_gui_session", "ready",
                                                              "screen_locked"};
};

} // namespace zelvo
