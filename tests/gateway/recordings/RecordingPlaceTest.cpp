#include "ZelvoGateway/Administration.h"
#include "ZelvoGateway/store/SqliteStore.h"
#include "gateway/support/ScriptedStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <sstream>

// Where the settings put the files of recordings.

namespace zelvo::service {
namespace {

using testing::HasSubstr;

FlagsReading readingOf(std::vector<std::string> const& arguments)
{
    std::vector<char const*> all{"--data=/d"};
    for (std::string const& each : arguments)
        all.push_back(each.c_str());
    return tryFlags(all);
}

std::string problemOf(std::vector<std::string> const& arguments)
{
    FlagsReading const reading = readingOf(arguments);
    return reading.problems.empty() ? "none" : reading.problems.front();
}

std::vector<std::string> const inBucket{"--recordings-in=s3", "--s3-endpoint=https://s3.example.org/",
                                        "--s3-bucket=films", "--s3-credentials=/c"};

std::vector<std::string> inBucketWith(std::string const& more)
{
    std::vector<std::string> arguments = inBucket;
    arguments.push_back(more);
    return arguments;
}

TEST(RecordingPlace, isAFolderOrABucket)
{
    EXPECT_EQ(readingOf({}).flags.settings.recordingPlace, RecordingPlace());
    EXPECT_EQ(readingOf({"--recordings-folder=/srv/r"}).flags.settings.recordingPlace.folder, "/srv/r");
    RecordingPlace const place = readingOf(inBucketWith("--s3-prefix=a/b")).flags.settings.recordingPlace;
    EXPECT_EQ(place.kind, RecordingPlace::Kind::s3);
    EXPECT_EQ(place.s3.endpoint, "https://s3.example.org");
    EXPECT_EQ(place.s3.prefix, "a/b/");
    EXPECT_EQ(place.s3.region, "us-east-1");
}

TEST(RecordingPlace, refusesMixedAndMissingSettings)
{
    EXPECT_EQ(problemOf(inBucket), "none");
    EXPECT_EQ(problemOf({"--s3-bucket=films"}), "--s3-bucket needs --recordings-in s3");
    EXPECT_EQ(problemOf({"--recordings-in=s3", "--s3-bucket=films", "--s3-credentials=/c"}),
              "--recordings-in s3 needs --s3-endpoint");
    EXPECT_THAT(problemOf(inBucketWith("--recordings-folder=/r")), HasSubstr("exclude each other"));
    EXPECT_THAT(problemOf(inBucketWith("--s3-bucket=my.films")), HasSubstr("--s3-path-style"));
    EXPECT_THAT(problemOf({"--recordings-in=tape"}), HasSubstr("folder or s3 is needed"));
}

TEST(RecordingPlace, refusesUnusableValues)
{
    EXPECT_THAT(problemOf(inBucketWith("--s3-endpoint=http://s3.example.org")), HasSubstr("https"));
    EXPECT_EQ(problemOf(inBucketWith("--s3-endpoint=http://127.0.0.1:9000")), "none");
    EXPECT_EQ(problemOf(inBucketWith("--s3-endpoint=http://[::1]:9000")), "none");
    EXPECT_THAT(problemOf(inBucketWith("--s3-endpoint=http://127.0.0.1.example.org")), HasSubstr("https"));
    EXPECT_THAT(problemOf(inBucketWith("--s3-endpoint=https://a:b@s3.example.org")), HasSubstr("user name"));
    for (std::string const value : {"Films", "ab", "-films", "fi/lms"})
        EXPECT_THAT(problemOf(inBucketWith("--s3-bucket=" + value)), HasSubstr("--s3-bucket: ")) << value;
    for (std::string const value : {"/a", "a//b", "a b", "../a"})
        EXPECT_THAT(problemOf(inBucketWith("--s3-prefix=" + value)), HasSubstr("--s3-prefix: ")) << value;
    EXPECT_THAT(problemOf(inBucketWith("--s3-region=a:b")), HasSubstr("--s3-region: "));
    EXPECT_THAT(problemOf(inBucketWith("--s3-bucket-owner=me")), HasSubstr("--s3-bucket-owner: "));
}

/// What --check-config prints about a store.
std::string checked(S3Settings const& place)
{
    TemporaryFolder folder;
    std::string const data = "--data=" + folder.path.string();
    std::vector<std::string> const arguments{data,
                                             "--recordings-in=s3",
                                             "--s3-path-style",
                                             "--s3-endpoint=" + place.endpoint,
                                             "--s3-bucket=" + place.bucket,
                                             "--s3-credentials=" + place.credentials};
    std::vector<char const*> all;
    for (std::string const& each : arguments)
        all.push_back(each.c_str());
    std::ostringstream out;
    checkSettings(tryFlags(all), out);
    return out.str();
}

TEST(RecordingPlace, isTriedByTheCheck)
{
    ScriptedStore const works([](ScriptedStore::Request const&) {
        return ScriptedStore::answer(200,
                                     "<ListBucketResult><IsTruncated>false</IsTruncated></ListBucketResult>");
    });
    ScriptedStore const refuses(
        [](ScriptedStore::Request const&) { return ScriptedStore::error(403, "AccessDenied"); });

    EXPECT_EQ(checked(works.place()), "The configuration is fine.\n");
    ASSERT_EQ(works.requests().size(), 1u);
    EXPECT_EQ(works.requests().front().method, "GET");
    EXPECT_THAT(checked(refuses.place()), HasSubstr("s3-credentials: the access key may not do this"));
    ::chmod(works.place().credentials.c_str(), 0644);
    EXPECT_THAT(checked(works.place()),
                HasSubstr("s3-credentials: " + works.place().credentials + ": others"));
}

TEST(RecordingPlace, isNotInABackupIfItIsABucket)
{
    TemporaryFolder folder;
    Flags flags;
    flags.settings.dataFolder = folder.path / "data";
    std::filesystem::create_directory(flags.settings.dataFolder);
    SqliteStore const store(folder.path / "data" / "gateway.sqlite");
    flags.settings.recordingPlace.kind = RecordingPlace::Kind::s3;
    flags.backupFolder = folder.path / "backup";
    flags.withRecordings = true;
    std::ostringstream out;

    EXPECT_THROW(backUp(flags, out), std::runtime_error);
    EXPECT_FALSE(std::filesystem::exists(folder.path / "backup"));
    flags.withRecordings = false;
    EXPECT_NO_THROW(backUp(flags, out));
}

TEST(RecordingPlace, isOwnedByTheStore)
{
    TemporaryFolder folder;
    std::string first;
    {
        SqliteStore store(folder.path / "gateway.sqlite");
        first = store.ownId();
        EXPECT_EQ(store.ownId(), first);
        SqliteStore again(folder.path / "gateway.sqlite");
        EXPECT_EQ(again.ownId(), first);
    }
    EXPECT_THAT(first, testing::StartsWith("gwy_"));
    EXPECT_EQ(SqliteStore(folder.path / "gateway.sqlite").ownId(), first);
    EXPECT_NE(SqliteStore(folder.path / "another.sqlite").ownId(), first);
}

} // namespace
} // namespace zelvo::service
