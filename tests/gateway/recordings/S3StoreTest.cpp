#include "ZelvoGateway/recordings/s3/S3Bucket.h"
#include "ZelvoGateway/recordings/s3/S3RecordingFiles.h"
#include "gateway/support/Becomes.h"
#include "gateway/support/CephStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstdlib>
#include <functional>

// What only a bucket has, against a real store.

namespace zelvo::service {
namespace {

using testing::HasSubstr;

class S3Store : public testing::Test {
protected:
    void SetUp() override
    {
        if (!CephStore::shared())
            GTEST_SKIP() << CephStore::whyAbsent;
        place = CephStore::shared()->place();
    }
    static std::string problemOf(std::function<void()> const& work)
    {
        try {
            work();
        } catch (RecordingFilesError const& error) {
            EXPECT_FALSE(error.isTemporary) << error.what();
            EXPECT_THAT(error.what(), testing::Not(HasSubstr("secret+of")));
            return error.what();
        }
        return "";
    }
    static void store(RecordingFiles const& files, std::string const& id)
    {
        auto const draft = files.draft(id, 1);
        draft->write("x");
        draft->keep();
    }
    std::size_t openUploads() const
    {
        std::size_t count = 0;
        S3Bucket(place, "gwy_1", {}).forEachUpload([&](S3Upload const&, Date) { ++count; });
        return count;
    }
    static RecordingDraft& large(RecordingDraft& draft)
    {
        draft.write(std::string(6'000'000, 'x'));
        return draft;
    }

    S3Settings place;
};

TEST_F(S3Store, abortsAnUploadThatIsNotKept)
{
    S3RecordingFiles const files(place, "gwy_1");
    auto draft = files.draft("rec_a", 6'000'000);
    large(*draft);
    ASSERT_EQ(openUploads(), 1u);

    draft.reset();

    EXPECT_TRUE(becomes([&] { return openUploads() == 0; }));
    EXPECT_FALSE(files.open("rec_a"));
}

TEST_F(S3Store, abortsItBeforeTheFilesEnd)
{
    {
        S3RecordingFiles const files(place, "gwy_1");
        large(*files.draft("rec_a", 6'000'000));
        files.stop();
    }

    EXPECT_EQ(openUploads(), 0u);
}

TEST_F(S3Store, keepsWhatOthersMayBeWriting)
{
    S3RecordingFiles const other(place, "gwy_1");
    auto const draft = other.draft("rec_a", 6'000'000);
    large(*draft);
    store(other, "rec_b");

    S3RecordingFiles(place, "gwy_1").removeAllBut({});

    EXPECT_EQ(openUploads(), 1u);
    EXPECT_TRUE(other.open("rec_b"));
    draft->keep();
    EXPECT_EQ(other.open("rec_a")->size(), 6'000'000u);
}

TEST_F(S3Store, removesOldUploadsThatNobodyFinishes)
{
    S3RecordingFiles const killed(place, "gwy_1");
    auto const draft = killed.draft("rec_a", 6'000'000);
    large(*draft);

    S3RecordingFiles(place, "gwy_1", {}, -1min).removeAllBut({});

    EXPECT_EQ(openUploads(), 0u);
    EXPECT_THROW(draft->keep(), RecordingFilesError);
}

TEST_F(S3Store, removesOnlyItsOwnNames)
{
    S3Settings above = place;
    above.prefix.pop_back();
    S3RecordingFiles const files(place, "gwy_1", {}, -1min);
    store(files, "rec_a");
    S3Client client(place, {});
    std::string const others = place.prefix.substr(0, place.prefix.size() - 1) + "0/rec_c.mp4";
    for (std::string const& key : {place.prefix + "rec_b.txt", place.prefix + "deeper/rec_b.mp4", others})
        client.perform({.method = "PUT", .key = key, .headers = {"Content-Type: text/plain"}, .body = "x"});

    files.removeAllBut({});

    EXPECT_FALSE(files.open("rec_a"));
    for (std::string const& key : {place.prefix + "rec_b.txt", place.prefix + "deeper/rec_b.mp4", others})
        EXPECT_EQ(client.perform({.method = "HEAD", .key = key}).status, 200) << key;
}

TEST_F(S3Store, removesMoreThanAPageOfThem)
{
    S3Client client(place, {});
    S3RecordingFiles const files(place, "gwy_1", {}, -1min);
    files.removeAllBut({}); // Takes the prefix.
    constexpr int count = 1005;
    for (int number = 0; number < count; ++number)
        client.perform({.method = "PUT",
                        .key = place.prefix + "rec_" + std::to_string(number) + ".mp4",
                        .headers = {"Content-Type: video/mp4"},
                        .body = "x"});

    files.removeAllBut({"rec_1001"});

    std::vector<std::string> left;
    S3Bucket(place, "gwy_1", {}).forEachObject([&](S3Object const& object, Date) {
        left.push_back(object.key);
    });
    EXPECT_THAT(left, testing::ElementsAre(place.prefix + "rec_1001.mp4", place.prefix + "zelvo-gateway"));
}

TEST_F(S3Store, belongsToOneGateway)
{
    S3RecordingFiles const files(place, "gwy_1", {}, -1min);
    store(files, "rec_a");
    S3RecordingFiles const another(place, "gwy_2", {}, -1min);

    EXPECT_THAT(problemOf([&] { another.removeAllBut({}); }), HasSubstr("belongs to another gateway"));
    EXPECT_THAT(problemOf([&] { another.draft("rec_b", 1); }), HasSubstr("s3-prefix"));
    EXPECT_EQ(another.freeBytes(), 0u);
    EXPECT_TRUE(files.open("rec_a"));
    EXPECT_NO_THROW(S3RecordingFiles(place, "gwy_1").draft("rec_b", 1));
}

TEST_F(S3Store, isNotTakenWithRecordingsOfNobody)
{
    S3RecordingFiles const files(place, "gwy_1", {}, -1min);
    store(files, "rec_a");
    S3Client(place, {}).perform({.method = "DELETE", .key = place.prefix + S3Bucket::markName});

    EXPECT_THAT(problemOf([&] { files.removeAllBut({}); }), HasSubstr("whose they are"));
    EXPECT_TRUE(files.open("rec_a"));
}

TEST_F(S3Store, saysWhatIsWrongWithTheSettings)
{
    S3Settings wrong = place;
    wrong.credentials = CephStore::shared()->credentials("AKIATEST", "secret+of/others");
    EXPECT_THAT(problemOf([&] { S3RecordingFiles::assertReachable(wrong); }), HasSubstr("s3-credentials: "));
    wrong.credentials = CephStore::shared()->credentials("NOBODY", "x");
    EXPECT_THAT(problemOf([&] { S3RecordingFiles::assertReachable(wrong); }), HasSubstr("s3-credentials: "));
    wrong = place;
    wrong.bucket = "no-such-bucket";
    EXPECT_THAT(problemOf([&] { S3RecordingFiles::assertReachable(wrong); }), HasSubstr("s3-bucket: "));
    EXPECT_NO_THROW(S3RecordingFiles::assertReachable(place));
}

TEST_F(S3Store, isReachedByTlsOnlyWithACertificateThatIsTrusted)
{
    S3Settings const secure = CephStore::shared()->securePlace();
    S3RecordingFiles const untrusting(secure, "gwy_1", {.maxAttempts = 1});
    EXPECT_EQ(untrusting.freeBytes(), 0u);
    EXPECT_THROW(S3RecordingFiles::assertReachable(secure), RecordingFilesError);

    ::setenv("SSL_CERT_FILE", CephStore::shared()->certificate().c_str(), 1);
    store(S3RecordingFiles(secure, "gwy_1"), "rec_a");
    S3Settings byAnotherName = secure;
    byAnotherName.endpoint.replace(0, std::string("https://127.0.0.1").size(), "https://localhost");
    EXPECT_THROW(S3RecordingFiles::assertReachable(byAnotherName), RecordingFilesError);
    ::unsetenv("SSL_CERT_FILE");
}

TEST_F(S3Store, usesANewKeyWithoutARestart)
{
    std::string const file = CephStore::shared()->credentials("NOBODY", "old");
    place.credentials = file;
    S3RecordingFiles const files(place, "gwy_1");
    EXPECT_EQ(files.freeBytes(), 0u);

    std::filesystem::rename(CephStore::shared()->credentials("AKIATEST", "secret+of/tests"), file);

    EXPECT_GT(files.freeBytes(), 0u);
}

} // namespace
} // namespace zelvo::service
