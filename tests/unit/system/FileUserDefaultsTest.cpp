#include "platform/portable/settings/FileUserDefaults.h"

#include "TemporaryFolder.h"
#include "fakes/Run.h"

#include <boost/asio/thread_pool.hpp>
#include <gtest/gtest.h>

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <random>
#include <thread>

namespace zelvo {

namespace {

using Texts = std::vector<std::string>;

/// Settings that are written to disk only when the test runs the writer.
class Defaults : public testing::Test {
protected:
    std::filesystem::path fileOf(std::string const& key) const
    {
        return folder.path / "defaults" / (key + ".json");
    }
    FileUserDefaults anew() { return {io.get_executor(), folder.path / "defaults"}; }

    TemporaryFolder folder;
    asio::io_context io;
    FileUserDefaults defaults{io.get_executor(), folder.path / "defaults"};
};

TEST_F(Defaults, givesNothingAtFirstAndMakesNoFolder)
{
    EXPECT_EQ(defaults.text("a"), std::nullopt);
    EXPECT_EQ(defaults.boolean("a"), std::nullopt);
    EXPECT_EQ(defaults.integer("a"), std::nullopt);
    EXPECT_EQ(defaults.textArray("a"), std::nullopt);
    EXPECT_EQ(defaults.bytes("a"), std::nullopt);
    EXPECT_FALSE(std::filesystem::exists(folder.path / "defaults"));
}

TEST_F(Defaults, isInForceAtOnceAndOnDiskAsJson)
{
    defaults.setText("zelvo.recording.mode", "always \"on\"");
    defaults.setBoolean("zelvo.showAgentCursor", false);
    defaults.setInteger("days", -9007199254740993);
    defaults.setTextArray("list", {"b", "a"});
    defaults.setBytes("zelvo.connections", "[{\"id\": 1}] \n");

    EXPECT_EQ(defaults.text("zelvo.recording.mode"), "always \"on\"");
    EXPECT_EQ(defaults.boolean("zelvo.showAgentCursor"), false);
    EXPECT_EQ(defaults.integer("days"), -9007199254740993);
    EXPECT_EQ(defaults.textArray("list"), (Texts{"b", "a"}));
    EXPECT_EQ(defaults.bytes("zelvo.connections"), "[{\"id\": 1}] \n");
    EXPECT_FALSE(std::filesystem::exists(fileOf("days"))); // Not written on the caller's thread.

    run(io, defaults.written());

    EXPECT_EQ(contentOf(fileOf("zelvo.recording.mode")), R"("always \"on\"")");
    EXPECT_EQ(contentOf(fileOf("zelvo.showAgentCursor")), "false");
    EXPECT_EQ(contentOf(fileOf("days")), "-9007199254740993");
    EXPECT_EQ(contentOf(fileOf("list")), R"(["b","a"])");
    EXPECT_EQ(contentOf(fileOf("zelvo.connections")), "[{\"id\": 1}] \n");
    EXPECT_EQ(modeOf(fileOf("days")), 0600u);
    EXPECT_EQ(modeOf(folder.path / "defaults"), 0700u);
}

TEST_F(Defaults, survivesARestart)
{
    defaults.setTextArray("list", {"Größe", "", "😀"});
    defaults.writeNow();

    EXPECT_EQ(anew().textArray("list"), (Texts{"Größe", "", "😀"}));
}

TEST_F(Defaults, readsAnotherTypeAsAbsent)
{
    writeFile(fileOf("text"), "\"yes\"");
    writeFile(fileOf("number"), "3.5");
    writeFile(fileOf("whole"), "80.0");
    writeFile(fileOf("mixed"), "[\"a\", 1]");
    writeFile(fileOf("broken"), "[\"a\"");
    writeFile(fileOf("empty"), "");
    writeFile(fileOf("binary"), std::string("\"\xff\"\0", 4));
    writeFile(fileOf("deep"), std::string(1'000'000, '['));

    EXPECT_EQ(defaults.boolean("text"), std::nullopt);
    EXPECT_EQ(defaults.integer("text"), std::nullopt);
    EXPECT_EQ(defaults.textArray("text"), std::nullopt);
    EXPECT_EQ(defaults.integer("number"), std::nullopt);
    EXPECT_EQ(defaults.integer("whole"), 80);
    EXPECT_EQ(defaults.textArray("mixed"), std::nullopt);
    EXPECT_EQ(defaults.textArray("broken"), std::nullopt);
    EXPECT_EQ(defaults.text("empty"), std::nullopt);
    EXPECT_EQ(defaults.bytes("empty"), "");
    EXPECT_EQ(defaults.text("binary"), std::nullopt);
    EXPECT_EQ(defaults.textArray("deep"), std::nullopt);
}

TEST_F(Defaults, writesAValueThatLooksTheSameOverAForeignChange)
{
    defaults.setText("mode", "local");
    defaults.writeNow();
    writeFile(fileOf("mode"), "\"share\""); // Not read since.

    defaults.setText("mode", "local");
    defaults.writeNow();

    EXPECT_EQ(contentOf(fileOf("mode")), "\"local\"");
}

TEST_F(Defaults, takesOverAForeignChangeAtTheNextRead)
{
    defaults.setText("mode", "ask");
    run(io, defaults.written());

    writeFile(fileOf("mode"), "\"never\"");
    EXPECT_EQ(defaults.text("mode"), "never");
    std::filesystem::remove(fileOf("mode"));
    EXPECT_EQ(defaults.text("mode"), std::nullopt);
    writeFile(fileOf("mode"), "\"always\"");
    EXPECT_EQ(defaults.text("mode"), "always");
}

TEST_F(Defaults, noticesAReplacedFileOfTheSameLength)
{
    defaults.setInteger("number", 1);
    run(io, defaults.written());
    EXPECT_EQ(defaults.integer("number"), 1);

    writeFile(folder.path / "other", "2");
    std::filesystem::rename(folder.path / "other", fileOf("number"));

    EXPECT_EQ(defaults.integer("number"), 2);
}

TEST_F(Defaults, ownNewerValueWinsOverAForeignChangeBeforeItIsWritten)
{
    writeFile(fileOf("mode"), "\"theirs\"");
    defaults.setText("mode", "ours");
    writeFile(fileOf("mode"), "\"theirs again\"");

    EXPECT_EQ(defaults.text("mode"), "ours");
    run(io, defaults.written());
    EXPECT_EQ(contentOf(fileOf("mode")), "\"ours\"");
}

TEST_F(Defaults, writesOnlyTheNewestValueOfAKey)
{
    for (int number = 0; number < 1000; ++number)
        defaults.setInteger("number", number);
    settle(io);

    EXPECT_EQ(contentOf(fileOf("number")), "999");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path / "defaults"), {}), 1);
}

TEST_F(Defaults, writtenResumesAtOnceWithNothingToWrite)
{
    run(io, defaults.written());
    defaults.setInteger("a", 1);
    defaults.writeNow();
    run(io, defaults.written());
}

TEST_F(Defaults, writtenResumesWhenNothingCanBeWritten)
{
    writeFile(folder.path / "defaults", "a file where the folder should be");
    defaults.setInteger("a", 1);

    run(io, defaults.written());

    EXPECT_EQ(defaults.integer("a"), 1); // The value stays in force.
    defaults.setInteger("a", 2);
    EXPECT_EQ(defaults.integer("a"), 2);
    defaults.writeNow();
}

TEST_F(Defaults, keepsAValueThatCouldNotBeWrittenUntilSomebodyChangesTheFile)
{
    std::filesystem::create_directories(fileOf("a") / "in the way");
    defaults.setInteger("a", 1);
    run(io, defaults.written());
    EXPECT_EQ(defaults.integer("a"), 1);

    std::filesystem::remove_all(fileOf("a"));
    writeFile(fileOf("a"), "5");

    EXPECT_EQ(defaults.integer("a"), 5);
}

TEST_F(Defaults, refusesKeysThatAreNoFileNames)
{
    for (std::string const& key :
         {std::string("../evil"), std::string("a/b"), std::string(), std::string("."), std::string(".hidden"),
          std::string("a\0b", 3), std::string(300, 'k')}) {
        defaults.setInteger(key, 1);
        EXPECT_EQ(defaults.integer(key), std::nullopt) << key;
    }
    defaults.writeNow();

    EXPECT_TRUE(std::filesystem::is_empty(folder.path));
}

TEST_F(Defaults, readsAHugeFileAndAPipeAsAbsent)
{
    writeFile(fileOf("huge"), "\"x\"");
    std::filesystem::resize_file(fileOf("huge"), 1'000'000'000'000);
    ASSERT_EQ(::mkfifo(fileOf("pipe").c_str(), 0600), 0);

    EXPECT_EQ(defaults.bytes("huge"), std::nullopt);
    EXPECT_EQ(defaults.bytes("pipe"), std::nullopt);
    defaults.setInteger("huge", 1);
    run(io, defaults.written());
    EXPECT_EQ(anew().integer("huge"), 1);
}

TEST_F(Defaults, storesARepairedTextThatReadsBackTheSame)
{
    defaults.setText("text", "a\xff"
                             "b");
    EXPECT_EQ(defaults.text("text"), "a\uFFFDb");
    defaults.writeNow();
    EXPECT_EQ(anew().text("text"), "a\uFFFDb");
}

TEST(FileUserDefaults, isOnDiskWithinAMomentUnderALoadOfManyThreads)
{
    TemporaryFolder folder;
    asio::thread_pool pool(2);
    FileUserDefaults defaults(pool.get_executor(), folder.path);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&, thread] {
            for (int number = 0; number <= 200; ++number) {
                defaults.setInteger("key" + std::to_string(thread), number);
                EXPECT_EQ(defaults.integer("key" + std::to_string(thread)), number);
            }
        });
    for (auto& thread : threads)
        thread.join();

    runBlocking(pool.get_executor(), defaults.written());

    for (int thread = 0; thread < 4; ++thread)
        EXPECT_EQ(contentOf(folder.path / ("key" + std::to_string(thread) + ".json")), "200");
    pool.join();
}

/// A child process that writes continuously and reports what is on disk.
class Writer {
public:
    Writer(std::filesystem::path const& folder, std::int64_t from)
    {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe");
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], 1);
        std::string path = folder.string();
        std::string number = std::to_string(from);
        char program[] = DEFAULTS_WRITER;
        char* const arguments[] = {program, path.data(), number.data(), nullptr};
        if (::posix_spawn(&pid, program, &actions, nullptr, arguments, environ) != 0)
            throw std::runtime_error("no child");
        posix_spawn_file_actions_destroy(&actions);
        ::close(ends[1]);
        said = ::fdopen(ends[0], "r");
    }
    Writer(Writer const&) = delete;
    Writer& operator=(Writer const&) = delete;
    ~Writer() { std::fclose(said); }

    std::int64_t nextSaid()
    {
        char line[32] = {};
        return std::fgets(line, sizeof line, said) ? std::stoll(line) : -1;
    }

    /// Kills the child and returns the last number that it printed.
    std::int64_t kill(std::int64_t last)
    {
        ::kill(pid, SIGKILL);
        ::waitpid(pid, nullptr, 0);
        for (std::int64_t number = nextSaid(); number >= 0; number = nextSaid())
            last = number;
        return last;
    }

private:
    pid_t pid = 0;
    std::FILE* said = nullptr;
};

TEST(FileUserDefaults, aKilledProcessLeavesEveryFileOldOrNewAndNothingUndone)
{
    TemporaryFolder folder;
    std::mt19937 random(20261121);
    std::int64_t number = 1;
    for (int round = 0; round < 60; ++round) {
        Writer writer(folder.path, number);
        std::int64_t const first = writer.nextSaid();
        ASSERT_EQ(first, number);
        std::this_thread::sleep_for(
            std::chrono::microseconds(random() % 4000)); // Real time, because the child runs on real time.
        std::int64_t const promised = writer.kill(first);

        asio::io_context io;
        FileUserDefaults defaults(io.get_executor(), folder.path);
        auto const count = defaults.integer("count");
        auto const list = defaults.textArray("list");
        ASSERT_TRUE(count && list) << round;
        EXPECT_GE(*count, promised);
        EXPECT_LE(*count, promised + 1);
        ASSERT_EQ(list->size(), 2000u);
        EXPECT_EQ(std::count(list->begin(), list->end(), list->front()), 2000);
        EXPECT_GE(std::stoll(list->front()), promised);
        number = *count + 1;
    }
    asio::io_context io;
    FileUserDefaults last(io.get_executor(), folder.path);
    last.setInteger("count", 0);
    last.writeNow();
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path), {}),
              2); // No temporary files remain.
}

} // namespace

} // namespace zelvo
