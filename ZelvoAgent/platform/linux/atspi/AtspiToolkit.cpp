#include "platform/linux/atspi/AtspiToolkit.h"

namespace zelvo {

namespace {

/// GTK 4 returns the widget that takes the pointer, which is often not in its tree.
AtspiHitAnswer hitAnswerOf(std::string_view toolkit)
{
    if (toolkit == "gtk")
        return AtspiHitAnswer::child;
    return toolkit == "Qt" || toolkit == "Chromium" ? AtspiHitAnswer::deepest : AtspiHitAnswer::none;
}

} // namespace

AtspiToolkit atspiToolkitOf(std::string_view name)
{
    bool const isChromium = name == "Chromium";
    return {.takesGetAll = isChromium || name == "gtk" || name == "GTK",
            .givesAttributes = isChromium,
            .hidesWhatIsOutOfView = isChromium || name == "gtk",
            .translatesActions = isChromium || name == "gtk" || name == "GTK",
            .hasActionsOfAll = isChromium,
            .isStrictAboutText = name == "Qt",
            .mayHoldOffice = name == "gtk",
            .isGtk4 = name == "GTK",
            .placesInWindow = name == "GTK",
            .listsSlowly = isChromium || name == "gtk",
            .callsItemsFocused = name == "Qt",
            .menusLeaveFocus = name == "gtk",
            .collects = isChromium || name == "gtk",
            .hitAnswer = hitAnswerOf(name),
            .guessesHits = isChromium};
}

} // namespace zelvo
