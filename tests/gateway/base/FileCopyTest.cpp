#include "ZelvoGateway/base/FileCopy.h"

#include "gateway/support/Gateway.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <fstream>

namespace zelvo::service {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class FileCopyTest : public testing::Test {
protected:
    fs::path written(std::string const& text)
    {
        std::ofstream(source) << text;
        return source;
    }
    std::string refusal(std::uint64_t maxBytes = anyBytes)
    {
        try {
            copyToPrivateFile(source, target, maxBytes);
        } catch (std::runtime_error const& error) {
            return error.what();
        }
        return "";
    }

    TemporaryFolder folder;
    fs::path const source = folder.path / "source";
    fs::path const target = folder.path / "target";
};

TEST_F(FileCopyTest, copiesUpToTheLimit)
{
    written("abc");

    FileDigest const digest = copyToPrivateFile(source, target, 3);

    EXPECT_EQ(digest.bytes, 3u);
    EXPECT_EQ(digest, digestOf(target));
    EXPECT_EQ(textWithin(target, 3), "abc");
}

TEST_F(FileCopyTest, refusesALargerFileBeforeItFillsTheDisk)
{
    written("abc");
    fs::resize_file(source, std::uint64_t{1} << 40); // With a hole: it takes up nothing here.

    EXPECT_THAT(refusal(3), HasSubstr("it has more than 3 bytes"));

    EXPECT_FALSE(fs::exists(target));
    EXPECT_THROW(textWithin(source, 3), std::runtime_error);
}

TEST_F(FileCopyTest, waitsForNoPipe)
{
    ASSERT_EQ(::mkfifo(source.c_str(), 0600), 0);

    EXPECT_THAT(refusal(), HasSubstr("it is no plain file"));

    EXPECT_FALSE(fs::exists(target));
    EXPECT_THROW(textWithin(source, 3), std::runtime_error);
}

TEST_F(FileCopyTest, followsNoLink)
{
    fs::create_symlink("/etc/passwd", source);

    EXPECT_THAT(refusal(), HasSubstr("cannot read"));

    EXPECT_FALSE(fs::exists(target));
}

TEST_F(FileCopyTest, distinguishesAMissingFileFromOthers)
{
    EXPECT_THROW(copyToPrivateFile(source, target), MissingFile);
    EXPECT_THROW(textWithin(source, 1), MissingFile);

    EXPECT_FALSE(fs::exists(target));
}

} // namespace
} // namespace zelvo::service
