#pragma once

#include <filesystem>
#include <functional>
#include <span>
#include <stdexcept>

namespace zelvo {

/// Why stored settings can't be used, in the person's language.
struct SettingsFailure : std::runtime_error {
    using runtime_error::runtime_error;
};

/// The version of the stored settings: the file `version` in their folder. Settings without one are of
/// version 0. A version is raised when a key or the form of its value changes.
class SettingsVersion {
public:
    static constexpr int current = 1;

    /// Changes the files of a folder from version `from` to the next one. Throws SettingsFailure.
    struct Step {
        int from;
        void (*apply)(std::filesystem::path const& folder);
    };

    /// folder  of the settings, `.../defaults`; its copies are beside it
    explicit SettingsVersion(std::filesystem::path folder);
    /// For tests of other versions.
    SettingsVersion(std::filesystem::path folder, int wanted, std::span<Step const> steps);

    /// 0 for settings without a version, the present one where there are none yet. Throws SettingsFailure.
    int stored() const;
    /// The copy that a migration keeps of settings of that version.
    std::filesystem::path copyOf(int version) const;
    /// Brings older settings up to date: a copy stays, and the new ones replace the old ones in one step.
    /// Settings of a newer version are refused, but if `mayRestore` says that this version was put back in
    /// place of the newer one, the copy that it made of ours is put back too. Throws SettingsFailure; the
    /// settings are unchanged then. Blocks. One process at a time.
    void bringUpToDate(std::function<bool()> const& mayRestore) const;

private:
    void migrate(int from) const;
    void restore(int newer) const;

    std::filesystem::path folder;
    int wanted;
    std::span<Step const> steps;
};

} // namespace zelvo
