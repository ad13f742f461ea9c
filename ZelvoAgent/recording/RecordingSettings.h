#pragma once

#include "platform/UserDefaults.h"
#include "wire/EnumText.h"

#include <array>
#include <cstdint>
#include <string>

namespace zelvo {

/// Whether sessions are recorded, and whether recordings may be uploaded.
enum class RecordingMode { off, local, share };

template <>
struct EnumTexts<RecordingMode> {
    static constexpr std::array<std::string_view, 3> texts = {"off", "local", "share"};
};

/// The mode's name in the person's language.
std::string title(RecordingMode mode);

/// The person's choices about recordings. Thread: any.
class RecordingSettings {
public:
    static constexpr std::array<std::int64_t, 5> retentionChoices = {1, 3, 7, 14, 30};
    static constexpr std::int64_t defaultRetentionDays = 7;

    explicit RecordingSettings(UserDefaults& defaults);

    /// `off` if the stored mode is absent or unknown.
    RecordingMode mode() const;
    void setMode(RecordingMode mode);
    /// The default if the stored number is not one of retentionChoices.
    std::int64_t retentionDays() const;
    void setRetentionDays(std::int64_t days);

private:
    UserDefaults& defaults;
};

} // namespace zelvo
