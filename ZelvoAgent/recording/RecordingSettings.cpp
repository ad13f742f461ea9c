#include "recording/RecordingSettings.h"

#include "base/LocalizedTexts.h"

#include <algorithm>

namespace zelvo {

namespace {

constexpr std::string_view modeKey = "zelvo.recording.mode";
constexpr std::string_view retentionKey = "zelvo.recording.retentionDays";

} // namespace

std::string title(RecordingMode mode)
{
    return localized("recording.mode." + std::string(rawValue(mode)));
}

RecordingSettings::RecordingSettings(UserDefaults& defaults) : defaults(defaults) {}

RecordingMode RecordingSettings::mode() const
{
    return fromRawValue<RecordingMode>(defaults.text(modeKey).value_or("")).value_or(RecordingMode::off);
}

void RecordingSettings::setMode(RecordingMode mode)
{
    defaults.setText(modeKey, std::string(rawValue(mode)));
}

std::int64_t RecordingSettings::retentionDays() const
{
    std::int64_t const stored = defaults.integer(retentionKey).value_or(0);
    return std::ranges::find(retentionChoices, stored) != retentionChoices.end() ? stored
                                                                                 : defaultRetentionDays;
}

void RecordingSettings::setRetentionDays(std::int64_t days)
{
    defaults.setInteger(retentionKey, days);
}

} // namespace zelvo
