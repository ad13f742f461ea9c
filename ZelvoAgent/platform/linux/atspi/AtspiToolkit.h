#pragma once

#include <cstdint>
#include <string_view>

namespace zelvo {

/// What a toolkit answers when it is asked what is at a point of an element.
enum class AtspiHitAnswer : std::uint8_t {
    none,    ///< nothing to go by
    child,   ///< the first of its children that lies there
    deepest, ///< the element that is drawn there
};

/// What the toolkit of a peer can take and give.
struct AtspiToolkit {
    bool takesGetAll = false;          ///< Properties.GetAll; Qt ends the application on it
    bool givesAttributes = false;      ///< identifiers are attributes
    bool hidesWhatIsOutOfView = false; ///< calls it not showing
    bool translatesActions = false;    ///< GetActions gives names in the desktop's language, or none
    bool hasActionsOfAll = false;      ///< after an element's own come those that every element has
    bool isStrictAboutText = false;    ///< gives no text when asked for more than there is
    bool mayHoldOffice = false;        ///< LibreOffice draws elements of its own into it
    bool isGtk4 = false;               ///< its answers want correcting
    bool placesInWindow = false;       ///< knows places in its window only, none on the screen
    bool listsSlowly = false;          ///< a list of children takes it the square of their number
    bool callsItemsFocused = false;    ///< Qt: the current ones of a list that has not the focus
    bool collects = false;             ///< looks for elements by their states itself
    AtspiHitAnswer hitAnswer = AtspiHitAnswer::none;
    bool guessesHits = false; ///< Chromium: finds out after it has answered, for the next time
};
/// name: as the application calls it
AtspiToolkit atspiToolkitOf(std::string_view name);

} // namespace zelvo
