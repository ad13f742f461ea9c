#include "recording/RecordingUploadQueue.h"

#include "fakes/FakeUserDefaults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char const* key = "zelvo.recording.pendingUploads";

class RecordingUploadQueueTest : public testing::Test {
protected:
    static PendingRecording entry(std::string path, std::int64_t attempts = 0)
    {
        return {.path = std::move(path), .connectionId = "c1", .durationSec = 12.5, .attempts = attempts};
    }

    FakeUserDefaults defaults;
    RecordingUploadQueue queue{defaults};
};

TEST_F(RecordingUploadQueueTest, isEmptyAtFirst)
{
    EXPECT_THAT(queue.load(), IsEmpty());
}

TEST_F(RecordingUploadQueueTest, isStoredAsAnArrayWithTheFieldsAsKeys)
{
    queue.append({.path = "/m/Zelvo 1 — Ж.mp4", .connectionId = "c1", .durationSec = 20});

    EXPECT_EQ(defaults.contents[key],
              R"([{"path":"/m/Zelvo 1 — Ж.mp4","connectionId":"c1","durationSec":20,"attempts":0}])");
}

TEST_F(RecordingUploadQueueTest, keepsTheOrderInWhichRecordingsCame)
{
    queue.append(entry("/a"));
    queue.append(entry("/b"));
    queue.append(entry("/c"));
    queue.remove("/b");
    queue.setAttempts("/a", 3);

    EXPECT_THAT(queue.load(), ElementsAre(entry("/a", 3), entry("/c")));
    EXPECT_TRUE(queue.holds("/a"));
    EXPECT_FALSE(queue.holds("/b"));
}

TEST_F(RecordingUploadQueueTest, holdsARecordingOnce)
{
    queue.append(entry("/a", 2));
    queue.append(entry("/a"));

    EXPECT_THAT(queue.load(), ElementsAre(entry("/a", 2)));
}

TEST_F(RecordingUploadQueueTest, seesWhatAnotherHandStored)
{
    queue.append(entry("/a"));
    defaults.contents[key] =
        R"([{"path":"/b","connectionId":"c1","durationSec":12.5,"attempts":1,"more":[]}])";
    queue.append(entry("/c"));

    EXPECT_THAT(queue.load(), ElementsAre(entry("/b", 1), entry("/c")));
}

TEST_F(RecordingUploadQueueTest, readsWhatItCannotDecodeAsEmpty)
{
    for (std::string const content :
         {"", "null", "{}", "\"x\"", "[", "[1]", "\xff\xfe", R"([{"path":"/a"}])",
          R"([{"path":1,"connectionId":"c","durationSec":1,"attempts":0}])",
          R"([{"path":"/a","connectionId":null,"durationSec":1,"attempts":0}])",
          R"([{"path":"/a","connectionId":"c","durationSec":"1","attempts":0}])",
          R"([{"path":"/a","connectionId":"c","durationSec":1e999,"attempts":0}])",
          R"([{"path":"/a","connectionId":"c","durationSec":1,"attempts":0.5}])",
          R"([{"path":"/a","connectionId":"c","durationSec":1,"attempts":9223372036854775808}])",
          R"([{"path":"/a","connectionId":"c","durationSec":1,"attempts":0},{}])"}) {
        defaults.contents[key] = content;
        EXPECT_THAT(queue.load(), IsEmpty()) << content;
    }
}

TEST_F(RecordingUploadQueueTest, readsNumbersHoweverTheyAreWritten)
{
    defaults.contents[key] = R"([{"path":"/a","connectionId":"c1","durationSec":125e-1,"attempts":2.0}])";

    EXPECT_THAT(queue.load(), ElementsAre(entry("/a", 2)));
}

TEST_F(RecordingUploadQueueTest, isClearedByWhatCannotBeEncoded)
{
    for (double const length :
         {std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
        queue.append(entry("/a"));
        PendingRecording endless = entry("/b");
        endless.durationSec = length;
        queue.append(endless);

        EXPECT_EQ(defaults.contents[key], "");
        EXPECT_THAT(queue.load(), IsEmpty());
    }
    queue.append(entry("/not \xff UTF-8"));
    EXPECT_THAT(queue.load(), IsEmpty());
}

} // namespace
} // namespace zelvo
