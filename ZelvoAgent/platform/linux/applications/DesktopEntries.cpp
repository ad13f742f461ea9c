#include "platform/linux/applications/DesktopEntries.h"

#include "base/Text.h"
#include "platform/linux/system/XdgFolders.h"

#include <gio/gio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>

namespace zelvo {

namespace {

struct FreeKeyFile {
    void operator()(GKeyFile* raw) const noexcept { g_key_file_free(raw); }
};
using KeyFile = std::unique_ptr<GKeyFile, FreeKeyFile>;

struct FreeGText {
    void operator()(char* raw) const noexcept { g_free(raw); }
};
using GText = std::unique_ptr<char, FreeGText>;

constexpr char const* group = G_KEY_FILE_DESKTOP_GROUP;

std::string textOf(GKeyFile* file, char const* key)
{
    GText const value(g_key_file_get_string(file, group, key, nullptr));
    return value ? value.get() : "";
}

} // namespace

bool isInterpreter(std::filesystem::path const& program)
{
    static char const* const names[] = {"sh",          "bash",     "dash",     "zsh",
                                        "fish",        "busybox",  "env",      "sudo",
                                        "pkexec",      "deno",     "bun",      "dotnet",
                                        "flatpak",     "snap",     "gio",      "gapplication",
                                        "gtk-launch",  "xdg-open", "exo-open", "dbus-launch",
                                        "setsid",      "nohup",    "nice",     "firejail",
                                        "systemd-run", "steam",    "lutris",   "x-terminal-emulator"};
    // A version may follow.
    static char const* const stems[] = {"python", "pypy",     "perl",      "java",  "gjs",  "electron",
                                        "lua",    "luajit",   "php",       "tclsh", "wish", "guile",
                                        "wine",   "ruby",     "mono",      "love",  "node", "nodejs",
                                        "qml",    "qmlscene", "kioclient", "kstart"};
    std::string const name = program.filename();
    return std::ranges::any_of(names, [&](char const* other) { return name == other; }) ||
           std::ranges::any_of(stems, [&](std::string_view stem) {
               return name.starts_with(stem) &&
                      (name.size() == stem.size() || !g_ascii_isalpha(name[stem.size()]));
           });
}

namespace {

std::filesystem::path onPath(std::string const& program)
{
    if (program.find('/') != std::string::npos)
        return program;
    GText const found(g_find_program_in_path(program.c_str()));
    return found ? found.get() : "";
}

std::string idOf(std::filesystem::path const& base, std::filesystem::path const& file)
{
    std::string id = file.lexically_relative(base).replace_extension();
    std::ranges::replace(id, '/', '-');
    return text::repaired(id); // It goes into replies.
}

/// An entry; one without a name for what is no application, is deleted, or can't be read.
DesktopEntry readEntry(std::filesystem::path const& base, std::filesystem::path const& file)
{
    DesktopEntry entry{.id = idOf(base, file), .file = file};
    KeyFile const keys(g_key_file_new());
    if (!g_key_file_load_from_file(keys.get(), file.c_str(), G_KEY_FILE_NONE, nullptr) ||
        textOf(keys.get(), "Type") != "Application" ||
        g_key_file_get_boolean(keys.get(), group, "Hidden", nullptr))
        return entry;
    GText const name(g_key_file_get_locale_string(keys.get(), group, "Name", nullptr, nullptr));
    entry.name = name && *name ? name.get() : entry.id;
    entry.plainName = textOf(keys.get(), "Name");
    entry.startupWmClass = textOf(keys.get(), "StartupWMClass");
    entry.executable = programOf(textOf(keys.get(), "Exec"));
    entry.noDisplay = g_key_file_get_boolean(keys.get(), group, "NoDisplay", nullptr);
    return entry;
}

std::int64_t nowNs()
{
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec * std::int64_t{1'000'000'000} + now.tv_nsec;
}

} // namespace

std::vector<std::filesystem::path> applicationFolders()
{
    std::vector<std::filesystem::path> folders{xdg::dataHome() / "applications"};
    char const* const given = std::getenv("XDG_DATA_DIRS");
    std::string_view path = given && *given ? given : "/usr/local/share:/usr/share";
    while (!path.empty()) {
        auto const end = std::min(path.find(':'), path.size());
        std::filesystem::path const folder = path.substr(0, end);
        path.remove_prefix(std::min(end + 1, path.size()));
        if (folder.is_absolute())
            folders.push_back(folder / "applications");
    }
    return folders;
}

std::filesystem::path programOf(std::string const& commandLine)
{
    int count = 0;
    char** raw = nullptr;
    if (!g_shell_parse_argv(commandLine.c_str(), &count, &raw, nullptr))
        return {};
    std::unique_ptr<char*, decltype(&g_strfreev)> const words(raw, g_strfreev);
    bool afterEnv = false;
    for (int i = 0; i < count; ++i) {
        std::string const word = raw[i];
        bool const isEnv = word == "env" || word.ends_with("/env");
        afterEnv = afterEnv || isEnv;
        if (afterEnv && (word == "-u" || word == "-C"))
            ++i; // What it is about follows.
        if (isEnv || (afterEnv && word.starts_with('-')) || word.find('=') != std::string::npos)
            continue;
        std::error_code failure;
        auto const program = std::filesystem::canonical(onPath(word), failure);
        // A launcher may be a link to a program of any name.
        bool const isUnknown = failure || isInterpreter(word) || isInterpreter(program);
        return isUnknown ? std::filesystem::path() : program;
    }
    return {};
}

DesktopEntries::DesktopEntries(std::vector<std::filesystem::path> folders) : folders(std::move(folders)) {}

DesktopEntries::FolderState DesktopEntries::stateOf(std::filesystem::path const& folder)
{
    struct stat info{};
    if (::stat(folder.c_str(), &info) != 0)
        return {folder, -1};
    return {folder, info.st_mtim.tv_sec * std::int64_t{1'000'000'000} + info.st_mtim.tv_nsec};
}

bool DesktopEntries::isFresh() const
{
    // Time stamps are some milliseconds coarse: a folder that changed just before it was read is read once
    // more.
    constexpr std::int64_t settlingNs = 50'000'000;
    return index && std::ranges::all_of(seen, [&](FolderState const& state) {
               return stateOf(state.folder) == state && nowNs() - state.changedNs > settlingNs;
           });
}

std::shared_ptr<DesktopEntryIndex const> DesktopEntries::current()
{
    std::scoped_lock guard(lock);
    if (!isFresh())
        read();
    return index;
}

void DesktopEntries::read()
{
    seen.clear();
    std::map<std::string, DesktopEntry> found;
    for (auto const& folder : folders)
        readFolder(folder, folder, found, 0);
    std::vector<DesktopEntry> entries;
    for (auto& [id, entry] : found) {
        if (entry.name.empty())
            continue;
        entry.folder = placeOf(entry.file);
        entries.push_back(std::move(entry));
    }
    if (!index || DesktopEntryIndex(entries).all() != index->all())
        index = std::make_shared<DesktopEntryIndex const>(std::move(entries));
}

/// Of the folder that it was found in. Two of them may lie in each other; the first one had it.
std::size_t DesktopEntries::placeOf(std::filesystem::path const& file) const
{
    auto const holds = [&](std::filesystem::path const& folder) {
        return file.native().starts_with((folder / "").native());
    };
    return static_cast<std::size_t>(std::ranges::find_if(folders, holds) - folders.begin());
}

void DesktopEntries::readFolder(std::filesystem::path const& base,
                                std::filesystem::path const& folder,
                                std::map<std::string, DesktopEntry>& found,
                                int depth)
{
    seen.push_back(stateOf(folder));
    std::error_code failure;
    std::filesystem::directory_iterator items(folder, failure);
    for (; !failure && items != std::filesystem::directory_iterator(); items.increment(failure)) {
        std::error_code ignored;
        auto const& path = items->path();
        if (items->is_directory(ignored)) {
            if (depth < 4)
                readFolder(base, path, found, depth + 1);
        } else if (path.extension() == ".desktop" && !found.contains(idOf(base, path))) {
            // The first folder that has an id decides, also when it only deletes the entry.
            found.emplace(idOf(base, path), readEntry(base, path));
        }
    }
}

} // namespace zelvo
