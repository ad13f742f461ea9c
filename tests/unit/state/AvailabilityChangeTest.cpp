#include "state/AvailabilityChange.h"

#include "base/DateText.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

AvailabilityChange lock()
{
    return {"8C5F0000-0000-4000-8000-000000000001", dates::fromStoredSeconds(817000000.5),
            Availability::ready, Availability::screenLocked};
}

TEST(AvailabilityChange, writesItsFieldsByName)
{
    EXPECT_EQ(json::value(lock().toJson()),
              *parseJson(R"({"id":"8C5F0000-0000-4000-8000-000000000001","at":817000000.5,)"
                         R"("from":"ready","to":"screen_locked"})"));
}

TEST(AvailabilityChange, readsWhatItWroteForEveryPair)
{
    using enum Availability;
    AvailabilityChange change = lock();
    for (Availability const from : {asleep, noGUISession, ready, screenLocked})
        for (Availability const to : {asleep, noGUISession, ready, screenLocked}) {
            change.from = from;
            change.to = to;
            EXPECT_EQ(AvailabilityChange::fromJson(*parseJson(writeJson(change.toJson()))), change);
        }
}

TEST(AvailabilityChange, readsATimeWithoutAFraction)
{
    json::object stored = lock().toJson();
    stored["at"] = 817000000;

    EXPECT_EQ(AvailabilityChange::fromJson(stored)->at, dates::fromStoredSeconds(817000000));
}

TEST(AvailabilityChange, needsEveryFieldWithItsType)
{
    for (std::string const key : {"id", "at", "from", "to"}) {
        json::object stored = lock().toJson();
        stored.erase(key);
        EXPECT_FALSE(AvailabilityChange::fromJson(stored)) << key;

        stored[key] = true;
        EXPECT_FALSE(AvailabilityChange::fromJson(stored)) << key;
    }
}

TEST(AvailabilityChange, failsForAnUnknownAvailability)
{
    for (std::string const key : {"from", "to"}) {
        json::object stored = lock().toJson();
        stored[key] = "on_fire";
        EXPECT_FALSE(AvailabilityChange::fromJson(stored)) << key;
    }
}

TEST(AvailabilityChange, failsForWhatIsNoObject)
{
    EXPECT_FALSE(AvailabilityChange::fromJson(json::array()));
    EXPECT_FALSE(AvailabilityChange::fromJson(nullptr));
}

} // namespace
} // namespace zelvo
