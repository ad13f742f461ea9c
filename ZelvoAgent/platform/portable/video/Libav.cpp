#include "platform/portable/video/Libav.h"

#include "platform/VideoFile.h"

#include <dlfcn.h>

#include <cstdarg>
#include <memory>
#include <string>

namespace zelvo {

LoadedLibrary::LoadedLibrary(char const* name) : handle(::dlopen(name, RTLD_NOW | RTLD_LOCAL))
{
    if (!handle)
        throw VideoFailure{std::string("videos need ") + name};
}

LoadedLibrary::Symbol LoadedLibrary::find(char const* name) const
{
    void* const place = ::dlsym(handle, name);
    if (!place)
        throw VideoFailure{std::string("videos need ") + name};
    return {place};
}

Libav const& libav()
{
    // Never unloaded: its threads and tables would not survive that.
    static Libav const& loaded = []() -> Libav const& {
        auto functions = std::make_unique<Libav>();
        functions->av_log_set_callback([](void*, int, char const*, std::va_list) {});
        return *functions.release();
    }();
    return loaded;
}

} // namespace zelvo
