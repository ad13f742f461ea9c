#include "platform/linux/x11/UrlOpening.h"

#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <ctime>
#include <memory>

namespace zelvo {

namespace {

struct Unref {
    void operator()(void* raw) const noexcept { g_object_unref(raw); }
};
template <class T>
using GPtr = std::unique_ptr<T, Unref>;

/// A new startup id. The time in it is what lets the new window come to the front; the X server of this
/// machine counts the same milliseconds.
char* newStartupId(GAppLaunchContext*, GAppInfo*, GList*)
{
    static std::atomic<unsigned> count = 0;
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    auto const milliseconds = static_cast<guint32>(now.tv_sec * 1000 + now.tv_nsec / 1'000'000);
    return g_strdup_printf("zelvo-%d-%u_TIME%u", static_cast<int>(::getpid()), count++, milliseconds);
}

void takeStartupIdsFromUs(gpointer type, gpointer)
{
    static_cast<GAppLaunchContextClass*>(type)->get_startup_notify_id = newStartupId;
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

GPtr<GAppInfo> defaultApplication(std::string const& url)
{
    std::unique_ptr<char, decltype(&g_free)> const scheme(g_uri_parse_scheme(url.c_str()), g_free);
    if (!scheme)
        return nullptr;
    if (g_ascii_strcasecmp(scheme.get(), "file") != 0)
        return GPtr<GAppInfo>(g_app_info_get_default_for_uri_scheme(scheme.get()));
    GPtr<GFile> const file(g_file_new_for_uri(url.c_str()));
    return GPtr<GAppInfo>(g_file_query_default_handler(file.get(), nullptr, nullptr));
}

bool launch(GAppInfo* application, std::string const& url, GAppLaunchContext* context)
{
    GList urls{.data = const_cast<char*>(url.c_str()), .next = nullptr, .prev = nullptr};
    bool const viaBus = G_IS_DESKTOP_APP_INFO(application) &&
                        g_desktop_app_info_get_boolean(G_DESKTOP_APP_INFO(application), "DBusActivatable");
    if (viaBus || !G_IS_DESKTOP_APP_INFO(application))
        return g_app_info_launch_uris(application, &urls, context, nullptr);
    return g_desktop_app_info_launch_uris_as_manager(G_DESKTOP_APP_INFO(application), &urls, context,
                                                     G_SPAWN_SEARCH_PATH, standAlone, nullptr, nullptr,
                                                     nullptr, nullptr);
}

} // namespace

bool openWithDefaultApplication(std::string const& url)
{
    // GIO would end this program together with the session bus.
    GPtr<GDBusConnection> const bus(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
    if (bus)
        g_dbus_connection_set_exit_on_close(bus.get(), FALSE);

    GPtr<GAppInfo> const application = defaultApplication(url);
    if (!application)
        return false;
    GPtr<GAppLaunchContext> const context(
        static_cast<GAppLaunchContext*>(g_object_new(contextType(), nullptr)));
    // GIO itself gives the id only to entries with StartupNotify.
    std::unique_ptr<char, decltype(&g_free)> const id(newStartupId(nullptr, nullptr, nullptr), g_free);
    g_app_launch_context_setenv(context.get(), "DESKTOP_STARTUP_ID", id.get());
    return launch(application.get(), url, context.get());
}

} // namespace zelvo
