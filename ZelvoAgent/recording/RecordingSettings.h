#pragma once

#include "platform/UserDefaults.h"
#include "wire/EnumText.h"

#include <array>
#include <cstdint>
#include <string>

namespace zelvo {

/// Whether sessions are recorded, and whether recordings may leave the machine.
enum class RecordingMode { off, local, share };

template <>
struct EnumTexts<RecordingMode> {
    static constexpr std::array<std::string_view, 3> texts = {"off", "local", "share"};
};

/// The name that a person sees.
std::string title(RecordingMode mode);

/// The person's choices about recordings. Thread: any.
class RecordingSettings {
public:
    static constexpr std::array<std::int64_t, 5> retentionChoices = {1, 3, 7, 14, 30};
    static constexpr std::int64_t defaultRetentionDays = 7;

    explicit RecordingSettings(UserDefaults& defaults);

    /// An absent or unknown stored mode reads as off.
    RecordingMode mode() const;
    void setMode(RecordingMode mode);
    /// A stored number that is not among the choices reads as the default.
    std::int64_t retentionDays() const;
    void setRetentionDays(std::int64_t days);

private:
    UserDefaults& defaults;
};

} // namespace zelvo
