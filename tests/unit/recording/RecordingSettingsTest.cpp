#include "recording/RecordingSettings.h"

#include "base/LocalizedTexts.h"
#include "fakes/FakeUserDefaults.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

constexpr char const* modeKey = "zelvo.recording.mode";
constexpr char const* retentionKey = "zelvo.recording.retentionDays";

TEST(RecordingMode, hasItsRawValuesInOrder)
{
    EXPECT_EQ(EnumTexts<RecordingMode>::texts, (std::array<std::string_view, 3>{"off", "local", "share"}));
}

TEST(RecordingMode, hasATitleForEachCase)
{
    EXPECT_EQ(title(RecordingMode::off), localized("recording.mode.off"));
    EXPECT_EQ(title(RecordingMode::local), localized("recording.mode.local"));
    EXPECT_EQ(title(RecordingMode::share), localized("recording.mode.share"));
    EXPECT_NE(title(RecordingMode::share), "recording.mode.share");
}

TEST(RecordingSettings, recordsNothingByDefault)
{
    FakeUserDefaults defaults;

    EXPECT_EQ(RecordingSettings(defaults).mode(), RecordingMode::off);
}

TEST(RecordingSettings, readsAnUnknownModeAsOff)
{
    FakeUserDefaults defaults;
    for (std::string const content : {R"("banana")", R"("Local")", R"("")", "1", "true", "{", ""}) {
        defaults.contents[modeKey] = content;
        EXPECT_EQ(RecordingSettings(defaults).mode(), RecordingMode::off) << content;
    }
}

TEST(RecordingSettings, storesTheModeAsItsRawValue)
{
    FakeUserDefaults defaults;
    RecordingSettings settings(defaults);
    for (auto const& [mode, content] :
         {std::pair(RecordingMode::local, R"("local")"), std::pair(RecordingMode::share, R"("share")"),
          std::pair(RecordingMode::off, R"("off")")}) {
        settings.setMode(mode);
        EXPECT_EQ(defaults.contents[modeKey], content);
        EXPECT_EQ(settings.mode(), mode);
    }
}

TEST(RecordingSettings, keepsRecordingsSevenDaysByDefault)
{
    FakeUserDefaults defaults;

    EXPECT_EQ(RecordingSettings(defaults).retentionDays(), 7);
    EXPECT_EQ(RecordingSettings::defaultRetentionDays, 7);
}

TEST(RecordingSettings, keepsToTheChoices)
{
    FakeUserDefaults defaults;
    RecordingSettings settings(defaults);

    EXPECT_EQ(RecordingSettings::retentionChoices, (std::array<std::int64_t, 5>{1, 3, 7, 14, 30}));
    for (std::int64_t const days : RecordingSettings::retentionChoices) {
        settings.setRetentionDays(days);
        EXPECT_EQ(defaults.contents[retentionKey], std::to_string(days));
        EXPECT_EQ(settings.retentionDays(), days);
    }
}

TEST(RecordingSettings, readsAnyOtherNumberOfDaysAsSeven)
{
    FakeUserDefaults defaults;
    for (std::string const content :
         {"0", "2", "31", "-1", "14.5", R"("14")", "null", "9223372036854775807"}) {
        defaults.contents[retentionKey] = content;
        EXPECT_EQ(RecordingSettings(defaults).retentionDays(), 7) << content;
    }
}

} // namespace
} // namespace zelvo
