#pragma once

#include "wire/AgentMode.h"
#include "wire/Availability.h"
#include "wire/Permissions.h"
#include "wire/records/RecordCodec.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// The records of the wire: how a machine stands.
namespace zelvo::records {

enum class RecordingEnum { local, off, share };
enum class MachineOS { linux, macos, windows };

} // namespace zelvo::records

namespace zelvo {

template <>
struct EnumTexts<records::RecordingEnum> {
    static constexpr std::array<std::string_view, 3> texts = {"local", "off", "share"};
};
template <>
struct EnumTexts<records::MachineOS> {
    static constexpr std::array<std::string_view, 3> texts = {"linux", "macos", "windows"};
};

} // namespace zelvo

namespace zelvo {

BOOST_DESCRIBE_STRUCT(Permissions, (), (accessibility, screenRecording))

} // namespace zelvo

namespace zelvo::records {

using MachineKind = AgentMode;
using HeartbeatPermissions = Permissions;

struct DisplayInfo {
    std::int64_t displayId{};
    std::int64_t heightPoints{};
    double scaleFactor{};
    std::int64_t widthPoints{};
    bool operator==(DisplayInfo const&) const = default;
};
BOOST_DESCRIBE_STRUCT(DisplayInfo, (), (displayId, heightPoints, scaleFactor, widthPoints))
using HeartbeatDisplay = DisplayInfo;

struct Heartbeat {
    std::string appVersion;
    std::optional<std::string> computerName;
    std::string macosVersion;
    MachineKind mode{};
    HeartbeatPermissions permissions;
    bool paused{};
    Availability availability{};
    std::int64_t hiddenAppCount{};
    Nullable<HeartbeatDisplay> display;
    std::optional<double> diskFreeGb;
    std::optional<std::int64_t> memUsedMb;
    std::optional<std::vector<std::string>> grantedConnectionIds;
    std::optional<RecordingEnum> recording;
    std::optional<std::vector<std::string>> features;
    std::optional<double> cpu;
    std::optional<MachineOS> os;
    bool operator==(Heartbeat const&) const = default;
};
BOOST_DESCRIBE_STRUCT(Heartbeat,
                      (),
                      (appVersion,
                       computerName,
                       macosVersion,
                       mode,
                       permissions,
                       paused,
                       availability,
                       hiddenAppCount,
                       display,
                       diskFreeGb,
                       memUsedMb,
                       grantedConnectionIds,
                       recording,
                       features,
                       cpu,
                       os))

} // namespace zelvo::records
