#include "desktop/wayland/harness/PrivateSway.h"

#include <signal.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace zelvo::test {

namespace {

constexpr uid_t nobody = 65534;

bool isInstalled(std::string const& program)
{
    return ::access(("/usr/bin/" + program).c_str(), X_OK) == 0;
}

std::string lineOf(SwayOutput const& output, std::size_t number)
{
    std::ostringstream line;
    line << "output HEADLESS-" << number << " mode " << output.width << 'x' << output.height << " position "
         << output.x << ' ' << output.y << " scale " << output.scale << " transform " << output.transform
         << '\n';
    return line.str();
}

} // namespace

std::string PrivateSway::missing()
{
    for (char const* const program : {"sway", "swaymsg"})
        if (!isInstalled(program))
            return "needs the package sway";
    return ::geteuid() == 0 && !isInstalled("setpriv") ? "needs the package util-linux" : "";
}

PrivateSway::PrivateSway(SwayOptions const& options) : PrivateSession(options.environment)
{
    auto const config = writeConfig(options);
    openFolders();
    settings["SWAYSOCK"] = runtimeFolder() / "sway.sock";
    settings["XDG_CURRENT_DESKTOP"] = "sway";
    settings["XDG_SESSION_TYPE"] = "wayland";
    if (options.sessionBus)
        startBus();
    sway = start(asUserOfCompositor({"sway", "-c", config}),
                 {{"WLR_BACKENDS", "headless"},
                  {"WLR_RENDERER", "pixman"},
                  {"WLR_LIBINPUT_NO_DEVICES", "1"},
                  {"WLR_HEADLESS_OUTPUTS", std::to_string(options.outputs.size())}});
    auto const ready = runtimeFolder() / "ready";
    require(
        "sway is ready", [&] { return std::filesystem::exists(ready) || !processes().isRunning(sway); }, 20s);
    std::string display;
    if (!(std::ifstream(ready) >> settings["WAYLAND_DISPLAY"]))
        throw std::runtime_error("sway ended: " + processes().output(sway));
    if (std::ifstream line(ready); options.xwayland && line >> display >> display)
        settings["DISPLAY"] = display;
}

std::vector<std::string> PrivateSway::asUserOfCompositor(std::vector<std::string> command)
{
    if (::geteuid() == 0)
        command.insert(command.begin(), {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"});
    return command;
}

std::filesystem::path PrivateSway::writeConfig(SwayOptions const& options)
{
    auto const path = runtimeFolder() / "sway.config";
    std::ofstream file(path);
    for (std::size_t i = 0; i < options.outputs.size(); ++i)
        file << lineOf(options.outputs[i], i + 1);
    file << "xwayland " << (options.xwayland ? "enable" : "disable") << '\n'
         << options.config << '\n'
         << "exec sh -c 'echo \"$WAYLAND_DISPLAY $DISPLAY\" > \"$XDG_RUNTIME_DIR/started\" && "
            "mv \"$XDG_RUNTIME_DIR/started\" \"$XDG_RUNTIME_DIR/ready\"'\n";
    return path;
}

/// Lets another user's sway reach its folder and write into it.
void PrivateSway::openFolders()
{
    if (::geteuid() != 0)
        return;
    std::filesystem::permissions(runtimeFolder().parent_path(), std::filesystem::perms(0711));
    if (::chown(runtimeFolder().c_str(), nobody, nobody) != 0)
        throw std::runtime_error("cannot give the runtime folder away");
}

void PrivateSway::command(std::string const& text)
{
    run({"swaymsg", "--", text});
}

std::string PrivateSway::ask(std::string const& question)
{
    return run({"swaymsg", "-r", "-t", question});
}

void PrivateSway::kill()
{
    processes().end(sway, SIGKILL);
}

} // namespace zelvo::test
