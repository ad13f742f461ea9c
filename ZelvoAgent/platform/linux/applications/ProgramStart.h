#pragma once

#include <gio/gio.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace zelvo {

/// Starting programs by GIO, for UrlOpening and EntryStart alone.

struct UnrefGObject {
    void operator()(void* raw) const noexcept { g_object_unref(raw); }
};
template <class T>
using GPtr = std::unique_ptr<T, UnrefGObject>;

struct FreeGText {
    void operator()(char* raw) const noexcept { g_free(raw); }
};
using GText = std::unique_ptr<char, FreeGText>;

struct FreeGError {
    void operator()(GError* raw) const noexcept { g_error_free(raw); }
};
using GFailure = std::unique_ptr<GError, FreeGError>;

/// GIO's connection to the session bus, which it makes and keeps for every start; null without a bus. While
/// this stands, the program does not end together with the bus.
GPtr<GDBusConnection> sharedBus();

/// What programs are started in: it hands them this startup id.
GPtr<GAppLaunchContext> startContext(std::string const& startupId);

/// Runs an entry's command. The program stands on its own: it is no child of ours, leads a process session
/// and has none of our descriptors, blocked or ignored signals. Gives its process id; throws
/// std::runtime_error.
/// urls: null or the texts that it is started with
std::int32_t startProgram(GAppInfo* application, GList* urls, std::string const& startupId);

} // namespace zelvo
