#include "ZelvoGateway/base/SecretFile.h"
#include "ZelvoGateway/recordings/RecordingFileName.h"
#include "ZelvoGateway/recordings/s3/S3Address.h"
#include "ZelvoGateway/recordings/s3/S3Answers.h"
#include "ZelvoGateway/recordings/s3/S3Credentials.h"
#include "ZelvoGateway/recordings/s3/XmlElements.h"
#include "unit/system/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <fstream>

namespace zelvo::service {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

TEST(S3Address, namesTheBucketInHostOrPath)
{
    S3Settings place{.endpoint = "https://s3.example.org:8443", .bucket = "films"};
    EXPECT_EQ(s3Address(place, "a/b c+.mp4"), "https://films.s3.example.org:8443/a/b%20c%2B.mp4");
    place.pathStyle = true;
    EXPECT_EQ(s3Address(place, "", {{"uploads", ""}, {"prefix", "a/"}}),
              "https://s3.example.org:8443/films/?prefix=a%2F&uploads=");
}

TEST(S3Address, escapesAndUnescapes)
{
    EXPECT_EQ(s3Escaped("a b/\xff~"), "a%20b%2F%FF~");
    EXPECT_EQ(s3Unescaped("a%20b%2f%FF~"), "a b/\xff~");
    EXPECT_EQ(s3Unescaped("%"), "%");
    EXPECT_EQ(s3Unescaped("%4"), "%4");
    EXPECT_EQ(s3Unescaped("%4x%41"), "%4xA");
}

TEST(XmlElements, listsThemInOrder)
{
    auto const elements =
        xmlElements("<?xml version='1.0'?><a xmlns='x'>\n <p:b>1 &amp; 2</p:b>\n <c><b/></c> </a>");

    ASSERT_TRUE(elements);
    EXPECT_THAT(*elements, ElementsAre(XmlElement{"a/b", "1 & 2"}, XmlElement{"a/c/b", ""},
                                       XmlElement{"a/c", ""}, XmlElement{"a", ""}));
}

TEST(XmlElements, hasBounds)
{
    EXPECT_FALSE(xmlElements("<a>"));
    EXPECT_FALSE(xmlElements(""));
    EXPECT_FALSE(xmlElements("<!DOCTYPE a><a/>"));
    EXPECT_TRUE(xmlElements("<a><b/></a>", {.maxDepth = 2}));
    EXPECT_FALSE(xmlElements("<a><b/></a>", {.maxDepth = 1}));
    EXPECT_FALSE(xmlElements("<a><b/></a>", {.maxElements = 1}));
    EXPECT_FALSE(xmlElements("<a>12345</a>", {.maxText = 4}));
    EXPECT_FALSE(xmlElements("<a/>", {.maxBytes = 3}));
}

TEST(S3Answers, readsAPage)
{
    auto const page = S3ObjectPage::parse(
        "<ListBucketResult><Contents><Key>p%2Frec_a.mp4</Key><Size>7</Size>"
        "<LastModified>2026-11-21T00:00:00.000Z</LastModified></Contents><Contents><Key>b</Key>"
        "<LastModified>?</LastModified></Contents><IsTruncated>true</IsTruncated>"
        "<NextContinuationToken>t</NextContinuationToken></ListBucketResult>");

    ASSERT_TRUE(page);
    ASSERT_EQ(page->objects.size(), 2u);
    EXPECT_EQ(page->objects[0].key, "p/rec_a.mp4");
    EXPECT_EQ(page->objects[0].bytes, 7u);
    EXPECT_EQ(page->objects[1].modified, Date::max()); // Never old enough to be removed.
    EXPECT_EQ(page->next, "t");
}

TEST(S3Answers, knowsWhatIsNone)
{
    EXPECT_FALSE(S3ObjectPage::parse("<Error/>"));
    EXPECT_FALSE(S3UploadPage::parse(
        "<ListMultipartUploadsResult><IsTruncated>true</IsTruncated></ListMultipartUploadsResult>"));
    EXPECT_FALSE(
        createdUploadIn("<InitiateMultipartUploadResult><UploadId/></InitiateMultipartUploadResult>"));
    EXPECT_FALSE(isCompletion("<Error><Code>InternalError</Code></Error>"));
    EXPECT_TRUE(
        isCompletion("<CompleteMultipartUploadResult><ETag>1</ETag></CompleteMultipartUploadResult>"));
    EXPECT_THAT(completionOf({"\"a\"", "<b>"}),
                HasSubstr("<PartNumber>2</PartNumber><ETag>&lt;b&gt;</ETag>"));
}

TEST(RecordingFileName, isOursOnlyInOneForm)
{
    EXPECT_EQ(recordingOfFile("rec_1f.mp4"), "rec_1f");
    EXPECT_EQ(recordingOfFile("rec_1f.part", ".part"), "rec_1f");
    for (char const* const name :
         {"rec_1f", "a.mp4", "rec_a/b.mp4", "rec_a.b.mp4", "xrec_a.mp4", "zelvo-gateway"})
        EXPECT_FALSE(recordingOfFile(name)) << name;
}

std::string refusal(std::string const& text)
{
    try {
        S3Credentials::parse(text, "f");
    } catch (std::runtime_error const& error) {
        EXPECT_THAT(error.what(), testing::Not(HasSubstr("hidden")));
        return error.what();
    }
    return "";
}

TEST(S3Credentials, areTwoLines)
{
    S3Credentials const read =
        S3Credentials::parse("# Of Acme.\n access-key = A=B \r\nsecret-key=hidden\n", "f");
    EXPECT_EQ(read.accessKey, "A=B");
    EXPECT_EQ(read.secretKey, "hidden");
    EXPECT_THAT(refusal("access-key = A\n"), HasSubstr("f: it has no secret-key"));
    EXPECT_THAT(refusal("hidden\n"), HasSubstr("once each"));
    EXPECT_THAT(refusal("secret-key = hidden\nsecret-key = hidden\n"), HasSubstr("once each"));
    EXPECT_THAT(refusal("secret-key = hid den\n"), HasSubstr("once each"));
}

TEST(SecretFile, isForItsOwnerOnly)
{
    TemporaryFolder folder;
    std::string const path = folder.path / "secret";
    std::ofstream(path) << "12345";
    ::chmod(path.c_str(), 0600);
    EXPECT_EQ(textOfSecretFile(path, 5), "12345");
    EXPECT_THROW(textOfSecretFile(path, 4), std::runtime_error);
    ::chmod(path.c_str(), 0640);
    EXPECT_THROW(textOfSecretFile(path, 5), std::runtime_error);
    EXPECT_THROW(textOfSecretFile(folder.path, 5), std::runtime_error);
    EXPECT_THROW(textOfSecretFile(folder.path / "none", 5), std::runtime_error);
}

} // namespace
} // namespace zelvo::service
