#include "ZelvoGateway/recordings/s3/S3RecordingFiles.h"
#include "gateway/support/CephStore.h"
#include "gateway/support/Recorded.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

// A whole gateway whose recordings are in a real S3-compatible store.

namespace zelvo::service {
namespace {

using testing::HasSubstr;

class S3Gateway : public testing::Test {
protected:
    void SetUp() override
    {
        if (!CephStore::shared())
            GTEST_SKIP() << CephStore::whyAbsent;
        place = {.kind = RecordingPlace::Kind::s3, .folder = {}, .s3 = CephStore::shared()->place()};
    }
    std::function<void(Settings&)> inBucket() const
    {
        return [this](Settings& settings) { settings.recordingPlace = place; };
    }

    RecordingPlace place;
};

TEST_F(S3Gateway, recordsAndPlaysBackByRanges)
{
    Recorded on(inBucket());
    std::string content;
    for (std::uint32_t number = 0; content.size() < 7'000'000; ++number)
        content += std::to_string(number);

    std::string const id = on.recording(content);
    std::string const address = on.addressOf(id);

    EXPECT_TRUE(on.gateway.call("GET", address).body == content);
    Answer const part = on.gateway.call("GET", address, {}, {{"Range", "bytes=5242870-5242889"}});
    EXPECT_EQ(part.status, 206);
    EXPECT_EQ(part.body, content.substr(5'242'870, 20));
    Answer const end = on.gateway.call("GET", address, {}, {{"Range", "bytes=-5"}});
    EXPECT_EQ(end.body, content.substr(content.size() - 5));
    EXPECT_FALSE(std::filesystem::exists(on.folder()));
}

TEST_F(S3Gateway, deletesForGood)
{
    Recorded on(inBucket());
    std::string const id = on.recording();
    std::string const address = on.addressOf(id);

    EXPECT_EQ(on.gateway.platform("DELETE", "/v1/recordings/" + id).status, 200);

    EXPECT_EQ(on.gateway.call("GET", address).status, 404);
    EXPECT_FALSE(S3RecordingFiles(place.s3, "gwy_x").open(id));
}

TEST_F(S3Gateway, keepsRecordingsThroughARestart)
{
    Recorded on(inBucket());
    std::string const id = on.recording("a film");

    on.gateway.stop();
    on.gateway.start();

    EXPECT_EQ(on.gateway.call("GET", on.addressOf(id)).body, "a film");
}

TEST_F(S3Gateway, refusesThePlaceOfAnotherGateway)
{
    Recorded on(inBucket());

    try {
        Gateway const another(inBucket());
        ADD_FAILURE() << "it started";
    } catch (RecordingFilesError const& error) {
        EXPECT_THAT(error.what(), HasSubstr("belongs to another gateway"));
    }
}

TEST_F(S3Gateway, startsWithoutAStoreThatDoesNotAnswer)
{
    place.s3.endpoint = "http://127.0.0.1:" + std::to_string(freePort());
    Recorded on(inBucket());

    EXPECT_EQ(on.post("", on.announcement(4)).status, 503);
}

} // namespace
} // namespace zelvo::service
