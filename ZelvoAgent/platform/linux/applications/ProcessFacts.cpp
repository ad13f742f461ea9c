#include "platform/linux/applications/ProcessFacts.h"

#include "platform/linux/system/ProcessStat.h"

#include <fstream>
#include <sstream>
#include <string_view>

namespace zelvo {

namespace {

std::string contentOf(std::string const& file)
{
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream content;
    content << stream.rdbuf(); // Not by iterators, which throw when the process ends meanwhile.
    return content.str();
}

std::string withoutSuffix(std::string text, std::string_view suffix)
{
    if (text.ends_with(suffix))
        text.resize(text.size() - suffix.size());
    return text;
}

/// The program of a process, links resolved.
std::filesystem::path executableOf(std::string const& folder)
{
    std::error_code failure;
    auto const link = std::filesystem::read_symlink(folder + "exe", failure);
    if (!failure)
        return withoutSuffix(link, " (deleted)"); // Replaced by an update while it runs.
    std::string const name = contentOf(folder + "comm");
    return name.substr(0, name.find('\n'));
}

std::string flatpakId(std::string const& folder)
{
    std::ifstream stream(folder + "root/.flatpak-info");
    bool inApplication = false;
    for (std::string line; std::getline(stream, line);) {
        if (line.starts_with('['))
            inApplication = line == "[Application]";
        else if (inApplication && line.starts_with("name="))
            return line.substr(5);
    }
    return {};
}

} // namespace

std::vector<std::string> confinedIdsIn(std::string const& cgroups)
{
    std::vector<std::string> ids;
    // ".../app-flatpak-org.gnome.Maps-4242.scope"
    constexpr std::string_view flatpak = "/app-flatpak-";
    if (auto const at = cgroups.find(flatpak); at != std::string::npos) {
        auto const first = at + flatpak.size();
        std::string const rest = cgroups.substr(first, cgroups.find_first_of("/\n", first) - first);
        if (auto const end = rest.rfind('-'); end != std::string::npos)
            ids.push_back(rest.substr(0, end));
    }
    // ".../snap.firefox.firefox-0b3f.scope"; the entry of a Snap is NAME_APP. Older systems have lines with
    // the name alone too.
    constexpr std::string_view snap = "/snap.";
    for (auto at = cgroups.find(snap); at != std::string::npos; at = cgroups.find(snap, at + 1)) {
        auto const first = at + snap.size();
        std::string const rest = cgroups.substr(first, cgroups.find_first_of("/\n", first) - first);
        auto const dot = rest.find('.');
        if (dot == std::string::npos)
            continue;
        std::string const name = rest.substr(0, dot);
        std::string app = rest.substr(dot + 1);
        app = app.substr(0, app.find('.'));
        // A dash and a UUID follow; names may have dashes themselves.
        constexpr std::size_t uuid = 37;
        if (app.size() > uuid && app[app.size() - uuid] == '-')
            app.resize(app.size() - uuid);
        ids.push_back(name + "_" + app);
        ids.push_back(name);
        break;
    }
    return ids;
}

ProcessFacts readProcessFacts(std::int32_t pid)
{
    ProcessFacts facts{.pid = pid};
    if (pid <= 0)
        return facts;
    std::string const folder = "/proc/" + std::to_string(pid) + "/";
    facts.executable = executableOf(folder);
    facts.confinedIds = confinedIdsIn(contentOf(folder + "cgroup"));
    facts.started = startDateOfProcess(pid);
    if (std::string const id = flatpakId(folder); !id.empty())
        facts.confinedIds.insert(facts.confinedIds.begin(), id);
    return facts;
}

} // namespace zelvo
