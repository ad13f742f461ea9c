#include "platform/linux/wayland/shell/ShellExtensionInstall.h"

#include "base/EmbeddedFile.h"

#include <charconv>
#include <fstream>

namespace zelvo {

extern EmbeddedFile const embedded_shell_imports_43;
extern EmbeddedFile const embedded_shell_imports_45;
extern EmbeddedFile const embedded_shell_service;

namespace {

constexpr int oldestShell = 43;
constexpr int firstWithModules = 45; // Extensions are ES modules since then.
constexpr int newestShell = 49;
constexpr char const* extensionsInterface = "org.gnome.Shell.Extensions";
constexpr char const* programName = "program"; // as service.js calls it
constexpr double enabledState = 1;             // of the shell's own list

bool isSupported(int version)
{
    return version >= oldestShell && version <= newestShell;
}

std::string metadata(int version)
{
    bool const hasModules = version >= firstWithModules;
    std::string versions;
    for (int one = hasModules ? firstWithModules : oldestShell;
         one <= (hasModules ? newestShell : firstWithModules - 1); ++one)
        versions += (versions.empty() ? "\"" : ", \"") + std::to_string(one) + "\"";
    return std::string("{\n  \"uuid\": \"") + ShellExtensionInstall::uuid +
           "\",\n  \"name\": \"Zelvo\",\n  \"description\": \"Lets Zelvo see and order windows, and leave "
           "hidden applications out of its pictures.\",\n  \"shell-version\": [" +
           versions + "],\n  \"version\": 1\n}\n";
}

bool writeFile(std::filesystem::path const& file, std::string const& text)
{
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    stream << text;
    stream.close();
    return !stream.fail();
}

} // namespace

ShellExtensionInstall::ShellExtensionInstall(std::filesystem::path const& dataHome, ShellLink& link)
    : folder(dataHome / "gnome-shell" / "extensions" / uuid), link(link)
{
}

std::optional<int> ShellExtensionInstall::shellVersion()
{
    auto const arguments = [](sd_bus_message* message) {
        sd_bus_message_append(message, "ss", "org.gnome.Shell", "ShellVersion");
    };
    ShellReply const reply = link.call({.path = "/org/gnome/Shell",
                                        .interface = "org.freedesktop.DBus.Properties",
                                        .member = "Get",
                                        .arguments = arguments});
    char const* text = nullptr;
    if (!reply.message || sd_bus_message_read(reply.message.get(), "v", "s", &text) < 0)
        return std::nullopt;
    int version = 0;
    std::string_view const whole = text;
    auto const [end, error] = std::from_chars(whole.data(), whole.data() + whole.size(), version);
    return error == std::errc() ? std::optional(version) : std::nullopt;
}

ShellExtensionInstall::State ShellExtensionInstall::state()
{
    auto const version = shellVersion();
    if (!version)
        return State::noShell;
    if (!isSupported(*version))
        return State::unsupported;
    std::error_code ignored;
    if (!std::filesystem::exists(folder / "metadata.json", ignored))
        return State::absent;
    auto const arguments = [](sd_bus_message* message) { sd_bus_message_append(message, "s", uuid); };
    ShellReply const reply = link.call({.path = "/org/gnome/Shell",
                                        .interface = extensionsInterface,
                                        .member = "GetExtensionInfo",
                                        .arguments = arguments});
    if (!reply.message)
        return State::noShell;
    BusDictionary const facts = readDictionary(reply.message.get());
    auto const found = entryOf<double>(facts, "state");
    if (!found)
        return State::needsLogin;
    return *found == enabledState ? State::enabled : State::disabled;
}

bool ShellExtensionInstall::write(int shellVersion, std::filesystem::path const& program)
{
    if (!isSupported(shellVersion))
        return false;
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    EmbeddedFile const& imports =
        shellVersion >= firstWithModules ? embedded_shell_imports_45 : embedded_shell_imports_43;
    std::string const code = std::string(imports.text()) + std::string(embedded_shell_service.text());
    // The metadata is last: without it the shell ignores the folder.
    return !error && writeFile(folder / "extension.js", code) &&
           writeFile(folder / programName, program.string() + "\n") &&
           writeFile(folder / "metadata.json", metadata(shellVersion));
}

std::optional<std::filesystem::path>
ShellExtensionInstall::otherProgram(std::filesystem::path const& program) const
{
    std::string recorded;
    std::getline(std::ifstream(folder / programName), recorded);
    std::error_code ignored;
    if (recorded.empty() || recorded == program || std::filesystem::equivalent(recorded, program, ignored))
        return std::nullopt;
    return recorded;
}

bool ShellExtensionInstall::enable()
{
    auto const arguments = [](sd_bus_message* message) { sd_bus_message_append(message, "s", uuid); };
    ShellReply const reply = link.call({.path = "/org/gnome/Shell",
                                        .interface = extensionsInterface,
                                        .member = "EnableExtension",
                                        .arguments = arguments});
    return reply.message && readTruth(reply.message.get()).value_or(false);
}

void ShellExtensionInstall::remove()
{
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
}

} // namespace zelvo
