#include "OneByOne.h"

#include <atspi/atspi.h>

#include <memory>

namespace zelvo {

namespace {

struct Release {
    void operator()(void* object) const { g_object_unref(object); }
};
template <class T>
using Held = std::unique_ptr<T, Release>;

struct Free {
    void operator()(void* memory) const { g_free(memory); }
};
using Text = std::unique_ptr<char, Free>;

void readActions(AtspiAccessible* element)
{
    Held<AtspiAction> const action(atspi_accessible_get_action_iface(element));
    int const count = action ? atspi_action_get_n_actions(action.get(), nullptr) : 0;
    for (int i = 0; i < count; ++i)
        Text const name(atspi_action_get_action_name(action.get(), i, nullptr));
}

void readExtents(AtspiAccessible* element)
{
    if (Held<AtspiComponent> const component(atspi_accessible_get_component_iface(element)); component)
        g_free(atspi_component_get_extents(component.get(), ATSPI_COORD_TYPE_SCREEN, nullptr));
}

void readValue(AtspiAccessible* element)
{
    Held<AtspiEditableText> const editable(atspi_accessible_get_editable_text_iface(element));
    Held<AtspiText> const text(editable ? atspi_accessible_get_text_iface(element) : nullptr);
    if (text)
        Text const value(atspi_text_get_text(text.get(), 0, 200, nullptr));
}

std::size_t readBelow(AtspiAccessible* element, int depth)
{
    constexpr int deepest = 25;
    atspi_accessible_get_role(element, nullptr);
    Held<AtspiStateSet> const states(atspi_accessible_get_state_set(element));
    Text const name(atspi_accessible_get_name(element, nullptr));
    Text const description(atspi_accessible_get_description(element, nullptr));
    Text const id(atspi_accessible_get_accessible_id(element, nullptr));
    readExtents(element);
    readActions(element);
    readValue(element);
    std::size_t elements = 1;
    int const children = depth < deepest ? atspi_accessible_get_child_count(element, nullptr) : 0;
    for (int i = 0; i < children; ++i)
        if (Held<AtspiAccessible> const child(atspi_accessible_get_child_at_index(element, i, nullptr));
            child)
            elements += readBelow(child.get(), depth + 1);
    return elements;
}

} // namespace

std::size_t readOneByOne(std::int32_t pid)
{
    static bool const ready = atspi_init() < 2;
    Held<AtspiAccessible> const desktop(ready ? atspi_get_desktop(0) : nullptr);
    int const applications = desktop ? atspi_accessible_get_child_count(desktop.get(), nullptr) : 0;
    std::size_t elements = 0;
    for (int i = 0; i < applications; ++i) {
        Held<AtspiAccessible> const application(
            atspi_accessible_get_child_at_index(desktop.get(), i, nullptr));
        if (!application ||
            static_cast<std::int32_t>(atspi_accessible_get_process_id(application.get(), nullptr)) != pid)
            continue;
        // Without the states it waits forever for itself if one changes while it reads.
        atspi_accessible_set_cache_mask(application.get(), ATSPI_CACHE_STATES);
        int const windows = atspi_accessible_get_child_count(application.get(), nullptr);
        for (int each = 0; each < windows; ++each)
            if (Held<AtspiAccessible> const window(
                    atspi_accessible_get_child_at_index(application.get(), each, nullptr));
                window)
                elements += readBelow(window.get(), 0);
    }
    return elements;
}

} // namespace zelvo
