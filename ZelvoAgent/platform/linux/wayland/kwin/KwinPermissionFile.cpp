#include "platform/linux/wayland/kwin/KwinPermissionFile.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace zelvo {

namespace {

constexpr char const* interface = "org.kde.KWin.ScreenShot2";
constexpr char const* permissionKey = "X-KDE-DBUS-Restricted-Interfaces";
constexpr int maxLines = 2000;
constexpr std::size_t maxLine = 8192;

/// The keys of the main group that matter here.
std::map<std::string, std::string> keysOf(std::filesystem::path const& file)
{
    std::map<std::string, std::string> keys;
    std::ifstream in(file);
    bool isMain = false;
    std::vector<char> line(maxLine);
    for (int count = 0; count < maxLines && in.getline(line.data(), maxLine); ++count) {
        std::string const text(line.data());
        if (text.starts_with("["))
            isMain = text == "[Desktop Entry]";
        auto const equals = text.find('=');
        if (isMain && equals != std::string::npos)
            keys.emplace(text.substr(0, equals), text.substr(equals + 1));
    }
    return keys;
}

bool isAllowing(std::string list)
{
    for (char& letter : list)
        if (letter == ';')
            letter = ',';
    return ("," + list + ",").find(std::string(",") + interface + ",") != std::string::npos;
}

} // namespace

KwinPermissionFile::KwinPermissionFile(DesktopEntries& entries, std::filesystem::path executable)
    : entries(entries), executable(std::move(executable))
{
}

std::string KwinPermissionFile::text() const
{
    return "[Desktop Entry]\nType=Application\nName=Zelvo\nExec=" + executable.string() +
           "\nNoDisplay=true\n" + permissionKey + "=" + interface + "\n";
}

std::optional<std::string> KwinPermissionFile::nameIn(std::vector<std::filesystem::path> const& folders) const
{
    constexpr int maxPrograms = 9;
    auto const isAnothers = [this](std::filesystem::path const& file) {
        std::error_code ignored;
        auto const exec = keysOf(file)["Exec"];
        return exec != executable && std::filesystem::exists(exec, ignored);
    };
    std::string const usual = fileName;
    for (int number = 1; number <= maxPrograms; ++number) {
        std::string name = usual;
        if (number > 1)
            name.insert(usual.rfind('.'), "-" + std::to_string(number));
        if (std::ranges::none_of(folders, [&](auto const& folder) { return isAnothers(folder / name); }))
            return name;
    }
    return std::nullopt;
}

KwinPermissionFile::State KwinPermissionFile::state() const
{
    auto const index = entries.current();
    State state = State::missing;
    for (DesktopEntry const& entry : index->all()) {
        if (entry.executable != executable)
            continue;
        auto keys = keysOf(entry.file);
        if (keys["Exec"] != executable)
            continue;
        if (!isAllowing(keys[permissionKey]))
            return State::shadowed;
        state = State::there;
    }
    return state;
}

} // namespace zelvo
