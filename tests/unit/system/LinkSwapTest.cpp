#include "GrantedFolder.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <atomic>
#include <cstdio>
#include <map>
#include <thread>

namespace zelvo {

namespace {

namespace fs = std::filesystem;

constexpr int rounds = 5000;

/// Swaps two names continuously, each time in one step.
class Swapper {
public:
    Swapper(fs::path one, fs::path two)
        : thread([this, one = std::move(one), two = std::move(two)] {
              while (!isEnding)
                  swaps += ::renameat2(AT_FDCWD, one.c_str(), AT_FDCWD, two.c_str(), RENAME_EXCHANGE) == 0;
          })
    {
    }
    Swapper(Swapper const&) = delete;
    Swapper& operator=(Swapper const&) = delete;
    ~Swapper()
    {
        isEnding = true;
        thread.join();
    }

    std::atomic<int> swaps = 0;

private:
    std::atomic<bool> isEnding = false;
    std::thread thread; // Last, so that it starts after the other members exist.
};

class LinkSwap : public testing::TestWithParam<FolderWalk::Method> {
public:
    /// The result of a read: the content, or the outcome of its failure.
    std::string reading(fs::path const& path)
    {
        std::string content;
        std::string const outcome = GrantedFolder::outcome([&] { content = files.read(path); });
        return outcome == "ok" ? content : outcome;
    }
    void expectSecretUntouched() const
    {
        EXPECT_EQ(GrantedFolder::count(files.out), 1u);
        EXPECT_EQ(contentOf(files.out / "x"), "outside");
    }

    GrantedFolder files{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(Walks,
                         LinkSwap,
                         testing::Values(FolderWalk::Method::inOneStep, FolderWalk::Method::partByPart));

TEST_P(LinkSwap, noByteFromOutsideIsReadWhileAFolderIsSwappedForALink)
{
    writeFile(files.in / "folder/x", "inside");
    writeFile(files.out / "x", "outside");
    fs::create_symlink(files.out, files.in / "link");
    std::map<std::string, int> seen;
    int swaps = 0;
    {
        Swapper swapper(files.in / "folder", files.in / "link");
        for (int round = 0; round < rounds || (swapper.swaps < rounds && round < 100 * rounds); ++round)
            ++seen[reading(files.in / "folder/x")];
        swaps = swapper.swaps;
    }

    EXPECT_FALSE(seen.contains("outside"));
    EXPECT_GT(seen["inside"], 0);
    EXPECT_GT(seen["scope_denied"], 0);
    EXPECT_GE(swaps, rounds);
    expectSecretUntouched();
}

TEST_P(LinkSwap, noByteFromOutsideIsReadWhileAFileIsSwappedForALink)
{
    writeFile(files.in / "file", "inside");
    writeFile(files.out / "x", "outside");
    fs::create_symlink(files.out / "x", files.in / "link");
    std::map<std::string, int> seen;
    {
        Swapper swapper(files.in / "file", files.in / "link");
        for (int round = 0; round < rounds || (swapper.swaps < rounds && round < 100 * rounds); ++round)
            ++seen[reading(files.in / "file")];
    }

    EXPECT_FALSE(seen.contains("outside"));
    EXPECT_GT(seen["inside"], 0);
    EXPECT_GT(seen["scope_denied"], 0);
}

TEST_P(LinkSwap, nothingIsWrittenOutsideWhileAFolderIsSwappedForALink)
{
    writeFile(files.in / "folder/x", "inside");
    writeFile(files.out / "x", "outside");
    fs::create_symlink(files.out, files.in / "link");
    std::map<std::string, int> seen;
    {
        Swapper swapper(files.in / "folder", files.in / "link");
        for (int round = 0; round < rounds / 5; ++round) {
            ++seen[files.writeOutcome(files.in / "folder/x", "new")];
            ++seen[files.writeOutcome(files.in / "folder/new" / std::to_string(round % 10) / "y", "new")];
        }
    }

    expectSecretUntouched();
    EXPECT_GT(seen["ok"], 0);
    EXPECT_GT(seen["scope_denied"], 0);
}

TEST_P(LinkSwap, nothingIsWrittenOutsideWhileTheGrantedFolderIsSwappedForALink)
{
    writeFile(files.in / "x", "inside");
    writeFile(files.out / "x", "outside");
    // The grant applies to a path, so a link there grants its target: here a folder without "x".
    fs::create_directories(files.top.path / "other");
    fs::create_symlink("other", files.top.path / "link");
    std::map<std::string, int> seen;
    {
        Swapper swapper(files.in, files.top.path / "link");
        for (int round = 0; round < rounds; ++round)
            ++seen[reading(files.in / "x")];
    }

    EXPECT_FALSE(seen.contains("outside"));
    EXPECT_GT(seen["inside"], 0);
}

} // namespace

} // namespace zelvo
