#include "ZelvoGateway/base/BackupManifest.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

BackupManifest usual()
{
    return {
        .version = "0.1.0",
        .createdAt = "2026-11-23T06:00:00.000Z",
        .storeVersion = 1,
        .files = {{.name = "gateway.sqlite", .digest = {.bytes = 4096, .sha256 = std::string(64, 'a')}},
                  {.name = "api-key", .digest = {.bytes = 68, .sha256 = std::string(64, '0')}},
                  {.name = "recordings/rec_1.mp4", .digest = {.bytes = 0, .sha256 = std::string(64, 'f')}}}};
}

bool isRefused(std::string const& text)
{
    try {
        BackupManifest::parse(text);
    } catch (std::runtime_error const&) {
        return true;
    }
    return false;
}

/// The usual manifest with one part of its text replaced.
std::string with(std::string const& part, std::string const& other)
{
    std::string text = usual().text();
    std::size_t const at = text.find(part);
    EXPECT_NE(at, std::string::npos) << part;
    return text.replace(at, part.size(), other);
}

TEST(BackupManifest, isReadAsItWasWritten)
{
    EXPECT_EQ(BackupManifest::parse(usual().text()), usual());
}

TEST(BackupManifest, namesNoPlaceOutsideOfItsFolder)
{
    for (std::string const name :
         {"../api-key", "/etc/passwd", "recordings/../../x.mp4", "recordings/.mp4", "recordings/a/b.mp4",
          "lock", "", "recordings/rec_1.mp4/..", "gateway.sqlite-wal"})
        EXPECT_TRUE(isRefused(with("recordings/rec_1.mp4", name))) << name;
}

TEST(BackupManifest, mustBeComplete)
{
    EXPECT_TRUE(isRefused(""));
    EXPECT_TRUE(isRefused("[]"));
    EXPECT_TRUE(isRefused(with("\"format\":1", "\"format\":2")));
    EXPECT_TRUE(isRefused(with("\"program\":\"zelvo-gateway\"", "\"program\":\"other\"")));
    EXPECT_TRUE(isRefused(with("\"storeVersion\":1", "\"storeVersion\":-1")));
    EXPECT_TRUE(isRefused(with("\"bytes\":4096", "\"bytes\":-4096")));
    EXPECT_TRUE(isRefused(with(std::string(64, 'a'), std::string(63, 'a'))));
    EXPECT_TRUE(isRefused(with(std::string(64, 'a'), std::string(64, 'g'))));
    EXPECT_TRUE(isRefused(with("\"api-key\"", "\"gateway.sqlite\"")));
    EXPECT_TRUE(isRefused(with("\"gateway.sqlite\"", "\"recordings/rec_2.mp4\"")));
    std::string const text = usual().text();
    for (std::size_t length = 0; length + 2 < text.size(); ++length)
        EXPECT_TRUE(isRefused(text.substr(0, length))) << length;
}

} // namespace
} // namespace zelvo::service
