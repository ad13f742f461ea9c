#pragma once

#include "platform/linux/dbus/BusMessages.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// A picture stream that the person shared.
struct PortalStream {
    std::uint32_t node = 0;                     ///< of PipeWire
    std::optional<std::array<int, 2>> position; ///< in the compositor's coordinates; some desktops give none
    std::optional<std::array<int, 2>> size;     ///< in the same unit
    std::string mapping;                        ///< the region of EIS that shows the same; may be empty
    bool operator==(PortalStream const&) const = default;
};

/// What the desktop answers to a request.
struct PortalAnswer {
    enum class Code {
        done,
        refused, ///< by the person
        ended,   ///< in another way: the dialog failed
        silent,  ///< no answer in time, or the portal is gone
    };
    Code code = Code::silent;
    std::string sessionHandle;
    std::uint32_t devices = 0;         ///< a set of PortalDevice
    std::vector<PortalStream> streams; ///< in the order of the answer
    std::string restoreToken;          ///< a secret; empty if the grant ends with the session
    bool hasClipboard = false;
    std::vector<std::string> shortcuts; ///< the ids that are bound
};

/// Values of `devices`.
struct PortalDevice {
    static constexpr std::uint32_t keyboard = 1;
    static constexpr std::uint32_t pointer = 2;
};

/// Reads the arguments of the signal Response. Values of a wrong type or beyond these limits are left out:
/// 64 entries, 32 streams, 32 shortcuts, texts of 1024 bytes, places within ±2^20, sizes from 1 to 2^16.
PortalAnswer readPortalAnswer(sd_bus_message* message);

/// Whether a text is the path of a session.
bool isSessionHandle(std::string const& text);

} // namespace zelvo
