#include "platform/linux/wayland/pipewire/Pipewire.h"

#include "platform/ScreenSource.h"

#include <dlfcn.h>

namespace zelvo {

namespace {

constexpr char const* libraryName = "libpipewire-0.3.so.0";

} // namespace

void* Pipewire::symbol(char const* name)
{
    // Never unloaded: its threads would not survive that.
    static void* const handle = ::dlopen(libraryName, RTLD_NOW | RTLD_LOCAL);
    void* const place = handle ? ::dlsym(handle, name) : nullptr;
    if (!place)
        throw ScreenFailure{std::string("pictures need ") + libraryName};
    return place;
}

Pipewire const& pipewire()
{
    static Pipewire const& loaded = []() -> Pipewire const& {
        auto functions = std::make_unique<Pipewire>();
        functions->pw_init(nullptr, nullptr);
        return *functions.release();
    }();
    return loaded;
}

} // namespace zelvo
