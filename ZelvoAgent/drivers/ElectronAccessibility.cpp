#include "drivers/ElectronAccessibility.h"

#include "base/Hop.h"
#include "base/LockedBox.h"

#include <boost/asio/strand.hpp>

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <string_view>
#include <vector>

namespace zelvo {

namespace {

using Attribute = AccessibilityAttribute;

constexpr Duration messagingTimeout = 250ms;
constexpr auto attributes = std::to_array({Attribute::manualAccessibility, Attribute::enhancedUserInterface});

constexpr auto identifierPrefixes = std::to_array<std::string_view>({
    "com.google.Chrome",
    "com.microsoft.edgemac",
    "com.brave.Browser",
    "com.vivaldi.Vivaldi",
    "company.thebrowser.Browser",
    "com.microsoft.VSCode",
    "com.visualstudio.code",
    "com.tinyspeck.slackmacgap",
    "com.hnc.Discord",
    "com.figma.Desktop",
    "notion.id",
    "com.spotify.client",
    "com.electron.",
    // The same applications by their desktop entries: packages, Flatpaks and Snaps.
    "google-chrome",
    "chromium",
    "org.chromium.Chromium",
    "microsoft-edge",
    "com.microsoft.Edge",
    "brave-browser",
    "brave_brave",
    "vivaldi",
    "code-oss",
    "code-insiders",
    "code-url-handler",
    "code_code",
    "slack",
    "com.slack.Slack",
    "discord",
    "com.discordapp.Discord",
    "figma-linux",
    "io.github.Figma_Linux",
    "notion-app",
    "notion-desktop",
    "notion-snap",
    "spotify",
    "com.spotify.Client",
});

/// The entry of VS Code's package. Ids of other applications begin with it too.
constexpr std::string_view codeIdentifier = "code";

using Names = std::vector<std::string>;

/// The names in a folder; empty if it cannot be listed.
Names listing(std::filesystem::path const& folder)
{
    Names names;
    std::error_code failure;
    for (std::filesystem::directory_iterator entry(folder, failure), end; !failure && entry != end;
         entry.increment(failure))
        names.push_back(entry->path().filename().string());
    return names;
}

bool isChromiumFramework(std::string_view name)
{
    if (name == "Electron Framework.framework" || name == "Chromium Embedded Framework.framework")
        return true;
    constexpr auto words = std::to_array<std::string_view>({"Chrome", "Chromium", "Edge", "Brave"});
    return name.ends_with(" Framework.framework") &&
           std::ranges::any_of(words, [&](auto word) { return name.find(word) != std::string_view::npos; });
}

/// True if the names include the data files that Chromium installs beside its program.
bool holdsChromiumData(Names const& names)
{
    auto const has = [&](std::string_view name) { return std::ranges::find(names, name) != names.end(); };
    return (has("icudtl.dat") || has("v8_context_snapshot.bin")) &&
           (has("resources.pak") || has("chrome_100_percent.pak"));
}

LockedBox<std::map<std::string, bool>>& knownFolders()
{
    static LockedBox<std::map<std::string, bool>> folders;
    return folders;
}

} // namespace

ElectronAccessibility::ElectronAccessibility(Contexts contexts, Accessibility& accessibility)
    : contexts(std::move(contexts)), accessibility(accessibility),
      strand(asio::make_strand(this->contexts.agent))
{
}

bool ElectronAccessibility::looksLikeChromium(std::optional<std::string> const& bundleId)
{
    return bundleId && (bundleId == codeIdentifier ||
                        std::ranges::any_of(identifierPrefixes,
                                            [&](auto prefix) { return bundleId->starts_with(prefix); }));
}

bool ElectronAccessibility::looksLikeChromium(std::optional<std::string> const& bundleId,
                                              std::optional<std::string> const& bundlePath)
{
    return looksLikeChromium(bundleId) || (bundlePath && embedsChromium(*bundlePath));
}

bool ElectronAccessibility::embedsChromium(std::string const& bundlePath)
{
    std::optional<bool> known;
    knownFolders().change([&](auto& folders) {
        if (auto const found = folders.find(bundlePath); found != folders.end())
            known = found->second;
    });
    if (known)
        return *known;
    std::filesystem::path const folder(bundlePath);
    bool const answer =
        std::ranges::any_of(listing(folder / "Contents" / "Frameworks"), isChromiumFramework) ||
        holdsChromiumData(listing(folder));
    knownFolders().change([&](auto& folders) { folders[bundlePath] = answer; });
    return answer;
}

Task<bool> ElectronAccessibility::enable(std::int32_t pid)
{
    auto body = [this, pid]() -> Task<bool> { return enableOnStrand(pid); };
    co_return co_await runOn(strand, std::move(body));
}

Task<bool> ElectronAccessibility::enableOnStrand(std::int32_t pid)
{
    if (enabledByUs.contains(pid))
        co_return true;
    enum class Outcome { refused, wasOn, switchedOn };
    auto const outcome = co_await on(contexts.workers, [&] {
        auto const reader = accessibility.reader(pid, messagingTimeout);
        AccessibilityElement const application = reader->application();
        for (Attribute const attribute : attributes)
            if (reader->flag(application, attribute).value_or(false))
                return Outcome::wasOn;
        bool accepted = false;
        for (Attribute const attribute : attributes)
            accepted |= reader->setFlag(application, attribute, true);
        return accepted ? Outcome::switchedOn : Outcome::refused;
    });
    if (outcome == Outcome::switchedOn)
        enabledByUs.insert(pid);
    co_return outcome != Outcome::refused;
}

Task<> ElectronAccessibility::disable(std::int32_t pid)
{
    auto body = [this, pid]() -> Task<> {
        if (enabledByUs.erase(pid) > 0)
            co_await switchOff(pid);
    };
    co_await runOn(strand, std::move(body));
}

Task<> ElectronAccessibility::disableAll()
{
    auto body = [this]() -> Task<> {
        std::set<std::int32_t> const all = std::exchange(enabledByUs, {});
        for (std::int32_t const pid : all)
            co_await switchOff(pid);
    };
    co_await runOn(strand, std::move(body));
}

Task<> ElectronAccessibility::forget(std::int32_t pid)
{
    co_await on(strand, [&] { enabledByUs.erase(pid); });
}

Task<bool> ElectronAccessibility::isManagedByUs(std::int32_t pid)
{
    co_return co_await on(strand, [&] { return enabledByUs.contains(pid); });
}

Task<> ElectronAccessibility::switchOff(std::int32_t pid)
{
    co_await on(contexts.workers, [&] {
        auto const reader = accessibility.reader(pid, messagingTimeout);
        for (Attribute const attribute : attributes)
            reader->setFlag(reader->application(), attribute, false);
    });
}

} // namespace zelvo
