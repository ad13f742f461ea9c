#include "platform/linux/movie/Libav.h"

#include "platform/MovieFile.h"

#include <dlfcn.h>

#include <cstdarg>
#include <memory>
#include <string>

namespace zelvo {

LoadedLibrary::LoadedLibrary(char const* name) : handle(::dlopen(name, RTLD_NOW | RTLD_LOCAL))
{
    if (!handle)
        throw MovieFailure{std::string("films need ") + name};
}

LoadedLibrary::Symbol LoadedLibrary::find(char const* name) const
{
    void* const place = ::dlsym(handle, name);
    if (!place)
        throw MovieFailure{std::string("films need ") + name};
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
