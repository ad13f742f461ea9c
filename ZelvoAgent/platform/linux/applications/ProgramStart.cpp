#include "platform/linux/applications/ProgramStart.h"

#include <gio/gdesktopappinfo.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <stdexcept>

namespace zelvo {

namespace {

constexpr char const* startupIdKey = "zelvo-startup-id";

/// GIO asks for an id where an entry says StartupNotify, and takes it over ours.
char* givenStartupId(GAppLaunchContext* context, GAppInfo*, GList*)
{
    return g_strdup(static_cast<char const*>(g_object_get_data(G_OBJECT(context), startupIdKey)));
}

void takeStartupIdsFromUs(gpointer type, gpointer)
{
    static_cast<GAppLaunchContextClass*>(type)->get_startup_notify_id = givenStartupId;
}

GType contextType()
{
    static GType const type = g_type_register_static_simple(
        G_TYPE_APP_LAUNCH_CONTEXT, "ZelvoLaunchContext", sizeof(GAppLaunchContextClass), takeStartupIdsFromUs,
        sizeof(GAppLaunchContext), nullptr, GTypeFlags{});
    return type;
}

/// Runs in the child, between fork and exec.
void standAlone(gpointer)
{
    ::setsid();
    // By the system call: the C library refuses its own two signals, which whoever is started by posix_spawn
    // finds ignored. All zero is the default action.
    unsigned long const standard[8] = {};
    constexpr std::size_t maskBytes = 8;
    for (int signal = 1; signal < NSIG; ++signal)
        ::syscall(SYS_rt_sigaction, signal, standard, nullptr, maskBytes);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

void notePid(GDesktopAppInfo*, GPid pid, gpointer into)
{
    *static_cast<std::int32_t*>(into) = pid;
}

} // namespace

GPtr<GDBusConnection> sharedBus()
{
    GPtr<GDBusConnection> bus(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
    if (bus)
        g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
    return bus;
}

GPtr<GAppLaunchContext> startContext(std::string const& startupId)
{
    GPtr<GAppLaunchContext> context(static_cast<GAppLaunchContext*>(g_object_new(contextType(), nullptr)));
    g_object_set_data_full(G_OBJECT(context.get()), startupIdKey, g_strdup(startupId.c_str()), g_free);
    // GIO itself gives the id only to entries with StartupNotify.
    g_app_launch_context_setenv(context.get(), "DESKTOP_STARTUP_ID", startupId.c_str());
    return context;
}

std::int32_t startProgram(GAppInfo* application, GList* urls, std::string const& startupId)
{
    auto const bus = sharedBus();
    auto const context = startContext(startupId);
    std::int32_t pid = 0;
    GError* failure = nullptr;
    if (g_desktop_app_info_launch_uris_as_manager(G_DESKTOP_APP_INFO(application), urls, context.get(),
                                                  G_SPAWN_SEARCH_PATH, standAlone, nullptr, notePid, &pid,
                                                  &failure))
        return pid;
    GFailure const kept(failure);
    throw std::runtime_error(kept ? kept->message : "the program cannot be started");
}

} // namespace zelvo
