#include "desktop/wayland/harness/TestPointer.h"

#include "fake-input-client-protocol.h"
#include "wlr-virtual-pointer-unstable-v1-client-protocol.h"

#include <linux/input-event-codes.h>

#include <stdexcept>

namespace zelvo::test {

struct TestPointer::Doors {
    org_kde_kwin_fake_input* fake = nullptr;
    zwlr_virtual_pointer_v1* pointer = nullptr;
};

TestPointer::TestPointer(int width, int height)
    : width(width), height(height), client(WaylandClient::open()), doors(std::make_unique<Doors>())
{
    if (!client)
        throw std::runtime_error("no compositor");
    doors->fake = client->bind<org_kde_kwin_fake_input>(org_kde_kwin_fake_input_interface, 3, 3);
    if (doors->fake) {
        org_kde_kwin_fake_input_authenticate(doors->fake, "test", "test");
    } else {
        auto* const manager =
            client->bind<zwlr_virtual_pointer_manager_v1>(zwlr_virtual_pointer_manager_v1_interface, 1);
        if (!manager)
            throw std::runtime_error("no pointer can be made");
        doors->pointer = zwlr_virtual_pointer_manager_v1_create_virtual_pointer(manager, nullptr);
        zwlr_virtual_pointer_manager_v1_destroy(manager);
    }
    client->roundtrip();
}

TestPointer::~TestPointer()
{
    if (doors->fake)
        org_kde_kwin_fake_input_destroy(doors->fake);
    if (doors->pointer)
        zwlr_virtual_pointer_v1_destroy(doors->pointer);
}

void TestPointer::moveTo(int x, int y)
{
    if (doors->fake) {
        org_kde_kwin_fake_input_pointer_motion_absolute(doors->fake, wl_fixed_from_int(x),
                                                        wl_fixed_from_int(y));
    } else {
        zwlr_virtual_pointer_v1_motion_absolute(
            doors->pointer, 0, static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y),
            static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height));
        zwlr_virtual_pointer_v1_frame(doors->pointer);
    }
    client->roundtrip();
}

void TestPointer::click()
{
    button(true);
    button(false);
}

void TestPointer::button(bool isDown)
{
    if (doors->fake) {
        org_kde_kwin_fake_input_button(doors->fake, BTN_LEFT, isDown ? 1 : 0);
    } else {
        zwlr_virtual_pointer_v1_button(doors->pointer, 0, BTN_LEFT, isDown ? 1 : 0);
        zwlr_virtual_pointer_v1_frame(doors->pointer);
    }
    client->roundtrip();
}

} // namespace zelvo::test
