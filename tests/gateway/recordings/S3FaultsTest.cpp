#include "ZelvoGateway/recordings/s3/S3RecordingFiles.h"
#include "gateway/support/Becomes.h"
#include "gateway/support/ScriptedStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <functional>
#include <thread>

// What a faulty or hostile store can do.

namespace zelvo::service {
namespace {

using testing::HasSubstr;
using Request = ScriptedStore::Request;

constexpr S3Times quick{.connect = 2s, .stalled = 1s, .longest = 300ms, .firstRetry = 1ms, .maxAttempts = 3};
constexpr char const* emptyList = "<ListBucketResult><IsTruncated>false</IsTruncated></ListBucketResult>";

/// What a well-behaved store with an empty prefix answers.
std::string usual(Request const& request)
{
    if (request.target.find("/p/zelvo-gateway") != std::string::npos)
        return request.method == "PUT" ? ScriptedStore::answer(200) : ScriptedStore::answer(200, "gwy_1\n");
    if (request.target.find("uploads=") != std::string::npos)
        return request.method == "POST"
                   ? ScriptedStore::answer(200, "<InitiateMultipartUploadResult><UploadId>u1</UploadId>"
                                                "</InitiateMultipartUploadResult>")
                   : ScriptedStore::answer(200, "<ListMultipartUploadsResult><IsTruncated>false</IsTruncated>"
                                                "</ListMultipartUploadsResult>");
    if (request.target.find("list-type=2") != std::string::npos)
        return ScriptedStore::answer(200, emptyList);
    if (request.method == "HEAD")
        return "HTTP/1.1 200 X\r\nContent-Length: 6000000\r\nETag: \"t\"\r\n\r\n";
    if (request.method == "POST")
        return ScriptedStore::answer(200, "<CompleteMultipartUploadResult/>");
    return ScriptedStore::answer(200, "", "ETag: \"t\"\r\n");
}

struct Outcome {
    std::string problem;
    bool isTemporary = false;
};

Outcome outcomeOf(std::function<void()> const& work)
{
    try {
        work();
    } catch (RecordingFilesError const& error) {
        EXPECT_THAT(error.what(), testing::Not(HasSubstr("hidden-secret")));
        return {error.what(), error.isTemporary};
    }
    return {"none"};
}

/// Uploads in two parts.
Outcome upload(ScriptedStore const& store)
{
    S3RecordingFiles const files(store.place(), "gwy_1", quick);
    return outcomeOf([&] {
        auto const draft = files.draft("rec_a", 6'000'000);
        draft->write(std::string(6'000'000, 'x'));
        draft->keep();
    });
}

Outcome reach(ScriptedStore::Script const& script)
{
    ScriptedStore const store(script);
    return outcomeOf([&] { S3RecordingFiles::assertReachable(store.place()); });
}

TEST(S3Faults, theUsualStoreWorks)
{
    ScriptedStore const store(usual);

    EXPECT_EQ(upload(store).problem, "none");
    EXPECT_EQ(store.count("DELETE"), 0u);
}

TEST(S3Faults, repeatsWhatFailsForAPassingReason)
{
    std::atomic<int> number = 0;
    ScriptedStore const store([&](Request const& request) -> std::string {
        int const now = number++;
        if (now % 3 == 0)
            return ScriptedStore::error(503, "SlowDown");
        return now % 3 == 1 ? std::string("HTTP/1.1 200 X\r\nContent-Le")
                            : usual(request); // Cut in the head.
    });

    EXPECT_EQ(upload(store).problem, "none");
}

TEST(S3Faults, givesUpAfterAFewAttempts)
{
    ScriptedStore const store([](Request const&) { return ScriptedStore::error(500, "InternalError"); });

    Outcome const outcome = upload(store);

    EXPECT_TRUE(outcome.isTemporary);
    EXPECT_THAT(outcome.problem, HasSubstr("status 500, InternalError"));
    EXPECT_EQ(store.requests().size(), 3u);
}

TEST(S3Faults, anErrorInsideOfAnswer200IsAnError)
{
    ScriptedStore const store([](Request const& request) {
        if (request.method == "POST" && request.target.find("uploadId=u1") != std::string::npos)
            return ScriptedStore::error(200, "InternalError");
        return usual(request);
    });

    EXPECT_THAT(upload(store).problem, HasSubstr("does not complete an upload"));
    EXPECT_EQ(store.count("DELETE"), 2u); // The upload, and what may have become visible.
}

TEST(S3Faults, aLostAnswerToTheCompletionIsNoFailure)
{
    std::atomic<int> completions = 0;
    ScriptedStore const store([&](Request const& request) -> std::string {
        if (request.method == "POST" && request.target.find("uploadId=u1") != std::string::npos)
            return completions++ == 0 ? std::string("HT") : ScriptedStore::error(404, "NoSuchUpload");
        return usual(request);
    });

    EXPECT_EQ(upload(store).problem, "none");
    EXPECT_EQ(completions, 2);
}

TEST(S3Faults, aShorterObjectIsNotKept)
{
    ScriptedStore const store([](Request const& request) {
        return request.method == "HEAD" ? std::string("HTTP/1.1 200 X\r\nContent-Length: 5999999\r\n\r\n")
                                        : usual(request);
    });

    EXPECT_THAT(upload(store).problem, HasSubstr("all of its bytes"));
    EXPECT_EQ(store.count("DELETE"), 2u);
}

TEST(S3Faults, aWrongChecksumIsAnError)
{
    ScriptedStore const store([](Request const& request) {
        return request.target.find("partNumber=2") != std::string::npos
                   ? ScriptedStore::error(400, "XAmzContentSHA256Mismatch")
                   : usual(request);
    });

    EXPECT_THAT(upload(store).problem, HasSubstr("XAmzContentSHA256Mismatch"));
}

TEST(S3Faults, silenceEnds)
{
    ScriptedStore const store([](Request const&) { return std::string(ScriptedStore::silence); });

    Outcome const outcome = upload(store);

    EXPECT_TRUE(outcome.isTemporary);
    EXPECT_THAT(outcome.problem, HasSubstr("no answer in time"));
}

TEST(S3Faults, stopEndsAWait)
{
    ScriptedStore const store([](Request const&) { return std::string(ScriptedStore::silence); });
    S3RecordingFiles const files(store.place(), "gwy_1", {.connect = 60s, .stalled = 60s, .longest = 60s});
    std::thread stopping([&] {
        becomes([&] { return !store.requests().empty(); });
        files.stop();
    });

    EXPECT_THAT(outcomeOf([&] { files.remove("rec_a"); }).problem, HasSubstr("the gateway stops"));
    stopping.join();
}

TEST(S3Faults, aStoreThatCannotBeReachedIsATemporaryProblem)
{
    S3Settings place = ScriptedStore(usual).place(); // Ends here, with its port and the credentials.
    Outcome const outcome = outcomeOf([&] { S3RecordingFiles(place, "gwy_1", quick).removeAllBut({}); });

    EXPECT_THAT(outcome.problem, HasSubstr("s3-credentials: "));
    TemporaryFolder folder;
    ScriptedStore const other(usual);
    place.credentials = other.place().credentials;
    EXPECT_TRUE(outcomeOf([&] { S3RecordingFiles(place, "gwy_1", quick).removeAllBut({}); }).isTemporary);
}

TEST(S3Faults, wordsForWhatIsWrong)
{
    auto const with = [](int status, std::string const& code, std::string const& more = {}) {
        return reach([=](Request const&) { return ScriptedStore::error(status, code, more); });
    };
    EXPECT_THAT(with(403, "AccessDenied").problem, HasSubstr("s3-credentials: the access key may not"));
    EXPECT_THAT(with(404, "NoSuchBucket").problem, HasSubstr("s3-bucket: there is no such bucket"));
    EXPECT_THAT(with(301, "PermanentRedirect", "<Region>eu-west-1</Region>").problem,
                HasSubstr("s3-region: the bucket is in eu-west-1, not in us-east-1"));
    EXPECT_THAT(with(400, "AuthorizationHeaderMalformed", "<Region>eu-west-1</Region>").problem,
                HasSubstr("s3-region: the bucket is in eu-west-1"));
    EXPECT_THAT(with(301, "PermanentRedirect", "<Endpoint>s3.example.org</Endpoint>").problem,
                HasSubstr("to s3.example.org"));
    Outcome const skewed = with(403, "RequestTimeTooSkewed");
    EXPECT_THAT(skewed.problem, HasSubstr("the clock of this computer"));
    EXPECT_TRUE(skewed.isTemporary);
}

TEST(S3Faults, takesTheRegionFromTheHeadOfARedirectAndFollowsNone)
{
    ScriptedStore const elsewhere(usual);
    ScriptedStore const store([&](Request const&) {
        return ScriptedStore::answer(
            307, "",
            "x-amz-bucket-region: eu-west-1\r\nLocation: " + elsewhere.place().endpoint + "/films\r\n");
    });

    EXPECT_THAT(outcomeOf([&] { S3RecordingFiles::assertReachable(store.place()); }).problem,
                HasSubstr("s3-region: the bucket is in eu-west-1"));
    EXPECT_TRUE(elsewhere.requests().empty());
}

TEST(S3Faults, codesAreShownOnlyIfTheyAreNames)
{
    Outcome const outcome =
        reach([](Request const&) { return ScriptedStore::error(403, "a &lt;b&gt; &#10; injected line"); });

    EXPECT_THAT(outcome.problem, testing::Not(HasSubstr("injected")));
}

TEST(S3Faults, endlessAnswersAreCutOff)
{
    std::string const endless = "<ListBucketResult>" + std::string(8 << 20, ' ');
    EXPECT_THAT(reach([&](Request const&) { return ScriptedStore::answer(200, endless); }).problem,
                HasSubstr("its answer is too large"));
    std::string const head = "HTTP/1.1 200 X\r\n" + [] {
        std::string lines;
        for (int number = 0; number < 20'000; ++number)
            lines += "X-" + std::to_string(number) + ": x\r\n";
        return lines;
    }();
    EXPECT_THAT(reach([&](Request const&) { return head; }).problem, HasSubstr("its answer is too large"));
}

TEST(S3Faults, aListThatIsNoneIsNotUsed)
{
    for (std::string const body :
         {"", "<html/>", "<ListBucketResult>",
          "<ListBucketResult><IsTruncated>true</IsTruncated></ListBucketResult>",
          "<!DOCTYPE a [<!ENTITY b "
          "\"c\">]><ListBucketResult><IsTruncated>false</IsTruncated></ListBucketResult>"})
        EXPECT_THAT(reach([&](Request const&) { return ScriptedStore::answer(200, body); }).problem,
                    HasSubstr("no S3-compatible store"))
            << body;
}

TEST(S3Faults, aListThatNeverEndsIsGivenUp)
{
    ScriptedStore const store([](Request const& request) {
        if (request.target.find("list-type=2") != std::string::npos)
            return ScriptedStore::answer(
                200, "<ListBucketResult><IsTruncated>true</IsTruncated>"
                     "<NextContinuationToken>same</NextContinuationToken></ListBucketResult>");
        return usual(request);
    });
    S3RecordingFiles const files(store.place(), "gwy_1", quick);

    EXPECT_THAT(outcomeOf([&] { files.removeAllBut({}); }).problem, HasSubstr("can't be understood"));
    EXPECT_EQ(store.count("DELETE"), 0u);
}

/// Reads ten bytes of an object of a hundred.
Outcome readWith(std::string const& answer)
{
    ScriptedStore const store([&](Request const& request) {
        return request.method == "HEAD"
                   ? std::string("HTTP/1.1 200 X\r\nContent-Length: 100\r\nETag: \"t\"\r\n\r\n")
                   : answer;
    });
    S3RecordingFiles const files(store.place(), "gwy_1", quick);
    auto const source = files.open("rec_a");
    std::array<char, 10> room{};
    Outcome const outcome = outcomeOf([&] { EXPECT_EQ(source->read(90, room), 10u); });
    EXPECT_EQ(store.requests().back().headers.at("if-match"), "\"t\"");
    EXPECT_EQ(store.requests().back().headers.at("range"), "bytes=90-99");
    return outcome;
}

TEST(S3Faults, readsOnlyTheBytesThatItAskedFor)
{
    std::string const ten(10, 'x');
    EXPECT_EQ(readWith(ScriptedStore::answer(206, ten, "Content-Range: bytes 90-99/100\r\n")).problem,
              "none");
    for (std::string const& answer :
         {ScriptedStore::answer(206, ten, "Content-Range: bytes 80-89/100\r\n"),
          ScriptedStore::answer(206, ten, "Content-Range: bytes 90-99/99\r\n"),
          ScriptedStore::answer(206, "short", "Content-Range: bytes 90-99/100\r\n"),
          ScriptedStore::answer(200, std::string(100, 'x')), ScriptedStore::error(412, "PreconditionFailed")})
        EXPECT_THAT(readWith(answer).problem, HasSubstr("changed while it was read")) << answer;
    EXPECT_THAT(readWith(ScriptedStore::error(404, "NoSuchKey")).problem, HasSubstr("was removed while"));
    EXPECT_TRUE(readWith("HTTP/1.1 206 X\r\nContent-Length: 10\r\nConnection: close\r\n\r\nxxx").isTemporary);
}

TEST(S3Faults, namesTheBucketsOwner)
{
    ScriptedStore const store(usual);
    S3Settings place = store.place();
    place.bucketOwner = "123456789012";
    S3RecordingFiles(place, "gwy_1", quick).remove("rec_a");

    Request const request = store.requests().back();
    EXPECT_EQ(request.headers.at("x-amz-expected-bucket-owner"), "123456789012");
    EXPECT_THAT(request.headers.at("authorization"), HasSubstr("x-amz-expected-bucket-owner"));
}

TEST(S3Faults, opensSoManyDraftsOnly)
{
    ScriptedStore const store(usual);
    S3RecordingFiles const files(store.place(), "gwy_1", quick);
    std::vector<std::unique_ptr<RecordingDraft>> drafts;
    for (int number = 0; number < 64; ++number)
        drafts.push_back(files.draft("rec_" + std::to_string(number), 1));

    EXPECT_THAT(outcomeOf([&] { files.draft("rec_x", 1); }).problem, HasSubstr("too many"));
    drafts.pop_back();
    EXPECT_EQ(outcomeOf([&] { files.draft("rec_x", 1); }).problem, "none");
    EXPECT_THAT(outcomeOf([&] { files.draft("rec_y", std::uint64_t{1} << 40); }).problem,
                HasSubstr("too large"));
}

} // namespace
} // namespace zelvo::service
