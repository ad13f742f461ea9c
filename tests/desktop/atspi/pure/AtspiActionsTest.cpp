#include "platform/linux/atspi/AtspiActions.h"

#include <gmock/gmock.h>

namespace zelvo::test {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(AtspiActions, callsWhatPressesAnElementAPress)
{
    for (char const* name : {"click", "press", "activate", "jump", "toggle", "Press", "Toggle"})
        EXPECT_THAT(axActionsOf({name}), ElementsAre("AXPress")) << name;
}

TEST(AtspiActions, callsWhatOpensAMenuShowMenu)
{
    for (char const* name : {"show menu", "ShowMenu", "show-menu", "Show Menu"})
        EXPECT_THAT(axActionsOf({name}), ElementsAre("AXShowMenu")) << name;
}

TEST(AtspiActions, keepsOtherNamesAndTheOrder)
{
    EXPECT_THAT(axActionsOf({"SetFocus", "Press", "", "expand or contract", "showContextMenu"}),
                ElementsAre("SetFocus", "AXPress", "expand or contract", "showContextMenu"));
}

TEST(AtspiActions, saysEachOnce)
{
    EXPECT_THAT(axActionsOf({"click", "press", "grow", "activate", "grow"}), ElementsAre("AXPress", "grow"));
    EXPECT_THAT(axActionsOf({}), IsEmpty());
}

} // namespace zelvo::test
