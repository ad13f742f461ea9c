// Binds keys, holds a button and Control down, says "typing" and waits to be killed.
#include "desktop/x11/LiveContexts.h"
#include "platform/linux/system/LinuxClock.h"
#include "platform/linux/x11/input/X11EventPosting.h"

#include <unistd.h>

#include <iostream>

int main()
{
    using namespace zelvo;
    test::LiveContexts live;
    LinuxClock clock(live.contexts().agent);
    X11EventPosting posting(live.contexts(), clock, [] { return DisplayLayout{.widthPixels = 1280}; });
    std::string const text = "漢字かな交じり文と한국어와русскийтекст한글조합абвгдежзийклмнопрстуфхцчшщъыьэюя"
                             "一丁丂七丄丅丆万丈三上下丌不与丏";

    live.run(posting.beginText(text));
    live.run(posting.post(TextEvent{KeyEvent::Kind::down, "漢字"}));
    live.run(posting.post(MouseEvent{MouseEvent::Kind::down, {5, 5}, MouseButton::left, 1, {.ctrl = true}}));
    live.run(posting.drained());
    std::cout << "typing" << std::endl;
    ::pause();
}
