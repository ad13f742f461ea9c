#include "platform/linux/applications/EntryStart.h"

#include "platform/linux/applications/ProgramStart.h"

#include <gio/gdesktopappinfo.h>

#include <stdexcept>

namespace zelvo {

namespace {

struct FreeKeyFile {
    void operator()(GKeyFile* raw) const noexcept { g_key_file_free(raw); }
};
using KeyFile = std::unique_ptr<GKeyFile, FreeKeyFile>;

constexpr char const* group = G_KEY_FILE_DESKTOP_GROUP;

KeyFile load(std::string const& file)
{
    KeyFile keys(g_key_file_new());
    if (!g_key_file_load_from_file(keys.get(), file.c_str(), G_KEY_FILE_KEEP_TRANSLATIONS, nullptr))
        throw std::runtime_error("the desktop entry cannot be read");
    return keys;
}

bool boolean(GKeyFile* keys, char const* key)
{
    return g_key_file_get_boolean(keys, group, key, nullptr);
}

/// The command that runs another one in a terminal: the person's choice, else the machine's. Empty when
/// neither is made; GIO then knows some emulators by name.
std::string terminalCommand()
{
    if (GText const chosen{g_find_program_in_path("xdg-terminal-exec")})
        return "xdg-terminal-exec ";
    if (GText const usual{g_find_program_in_path("x-terminal-emulator")})
        return "x-terminal-emulator -e ";
    return {};
}

void putIntoTerminal(GKeyFile* keys)
{
    std::string const terminal = terminalCommand();
    GText const command(g_key_file_get_string(keys, group, "Exec", nullptr));
    if (terminal.empty() || !command)
        return;
    g_key_file_set_string(keys, group, "Exec", (terminal + command.get()).c_str());
    g_key_file_set_boolean(keys, group, "Terminal", FALSE);
}

GPtr<GAppInfo> applicationOf(std::string const& entryFile)
{
    KeyFile const keys = load(entryFile);
    bool const inTerminal = boolean(keys.get(), "Terminal");
    if (!inTerminal && !boolean(keys.get(), "DBusActivatable"))
        return GPtr<GAppInfo>(G_APP_INFO(g_desktop_app_info_new_from_filename(entryFile.c_str())));
    // By its file GIO would start it over the bus all the same.
    if (inTerminal)
        putIntoTerminal(keys.get());
    return GPtr<GAppInfo>(G_APP_INFO(g_desktop_app_info_new_from_keyfile(keys.get())));
}

} // namespace

bool isStartedByBus(std::string const& entryFile)
{
    return boolean(load(entryFile).get(), "DBusActivatable");
}

std::int32_t startEntry(std::string const& entryFile, std::string const& startupId)
{
    GPtr<GAppInfo> const application = applicationOf(entryFile);
    if (!application)
        throw std::runtime_error("the program of the desktop entry is missing, or the entry is not valid");
    return startProgram(application.get(), nullptr, startupId);
}

} // namespace zelvo
