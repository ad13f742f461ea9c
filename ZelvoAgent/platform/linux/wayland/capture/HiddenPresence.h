#pragma once

#include "platform/ApplicationNames.h"
#include "platform/linux/wayland/ClientList.h"
#include "platform/linux/wayland/WindowSource.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace zelvo {

/// Whether an application that must not be seen could be in a picture, and which windows are its.
/// Thread: any; each look takes some milliseconds.
class HiddenPresence {
public:
    /// All of it outlives this.
    struct Parts {
        ClientList& clients;
        WindowSource* windows = nullptr; ///< null if the compositor tells of no windows
        std::function<ApplicationNames(std::int32_t pid)> namesOfProcess;
        /// The ids of the windows that some hidden application's names hide.
        std::function<std::set<std::string>(WindowsNow const&, std::set<std::string> const& hidden)> hiddenOf;
    };

    explicit HiddenPresence(Parts given);

    /// Whether a process of an excluded application is connected to the compositor. It need not have a
    /// window: one may appear at any moment. This program does not count. True also if the compositor's
    /// clients cannot be read, unless nothing but this program is excluded.
    bool isConnected(std::set<std::string> const& excluded) const;
    /// The windows of excluded applications among these, and the parts of the compositor's interface that
    /// name one.
    std::set<std::string> leftOut(WindowsNow const& now, std::set<std::string> const& excluded) const;
    /// The windows of this program that are on the screen; none if the compositor tells nobody of windows.
    /// `nullopt` if it does not answer.
    std::optional<std::vector<CompositorWindow>> ownOnScreen() const;

private:
    bool hasWindow(std::set<std::string> const& excluded) const;

    Parts parts;
    std::int32_t own;
};

} // namespace zelvo
