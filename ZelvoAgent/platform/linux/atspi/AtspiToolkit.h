#pragma once

#include <cstdint>
#include <string_view>

namespace zelvo {

/// The result of a toolkit's hit test in an element.
enum class AtspiHitAnswer : std::uint8_t {
    none,    ///< unreliable
    child,   ///< the first child at the point
    deepest, ///< the element that is drawn there
};

/// Properties of a peer's toolkit.
struct AtspiToolkit {
    bool takesGetAll = false;          ///< Properties.GetAll works; it crashes Qt
    bool givesAttributes = false;      ///< identifiers are attributes
    bool hidesWhatIsOutOfView = false; ///< elements out of view are not "showing"
    bool translatesActions = false;    ///< GetActions returns names in the desktop's language, or none
    bool hasActionsOfAll = false;      ///< after an element's own actions come those that every element has
    bool isStrictAboutText = false;    ///< returns no text if asked for more than there is
    bool mayHoldOffice = false;        ///< LibreOffice may draw its own elements inside
    bool isGtk4 = false;               ///< needs correctGtk4Answer
    bool placesInWindow = false;       ///< knows positions in the window only, none on the screen
    bool listsSlowly = false;          ///< takes quadratic time to list many children
    bool callsItemsFocused = false;    ///< Qt: the current items of lists without the focus, too
    bool menusLeaveFocus = false;      ///< the focus stays where it was while a menu is open
    bool collects = false;             ///< searches its elements by their states
    AtspiHitAnswer hitAnswer = AtspiHitAnswer::none;
    bool guessesHits = false; ///< Chromium: returns a guess and looks up the answer for the next call
};
/// name  as the application reports it
AtspiToolkit atspiToolkitOf(std::string_view name);

} // namespace zelvo
