// Workload: 100 MiB written to a file and read again, in a temporary folder. Ours checks the granted folders:
// resolves the path, opens it folder by folder, and writes beside the old file, syncs and renames. The
// baseline makes the bare calls with the same buffers: open and read into one new text; open, write, fsync
// and rename. The file is in the page cache when it is read. Peak memory is that of a separate process for
// each side.

#include "BareFiles.h"
#include "LoopThread.h"
#include "RatioTable.h"
#include "drivers/FileAccess.h"
#include "platform/linux/system/LinuxFileSystem.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/use_future.hpp>

#include <sys/resource.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace zelvo {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t bytes = 100u << 20;

/// A granted folder for the benchmark, with the file in it.
class Stage {
public:
    Stage()
    {
        std::string name = (fs::temp_directory_path() / "zelvo-bench-XXXXXX").string();
        if (!::mkdtemp(name.data()))
            std::abort();
        folder = name;
        file = folder / "file";
    }
    Stage(Stage const&) = delete;
    Stage& operator=(Stage const&) = delete;
    ~Stage() { fs::remove_all(folder); }

    fs::path folder;
    fs::path file;
};

/// Our file access on a worker thread.
class Gate {
public:
    explicit Gate(fs::path const& folder)
        : machine(folder), access(workers.io.get_executor(), machine, {folder.native()})
    {
    }
    std::string read(fs::path const& file) { return wait(access.read(file.native())); }
    void write(fs::path const& file, std::string data) { wait(access.write(file.native(), std::move(data))); }

private:
    template <class T>
    T wait(Task<T> task)
    {
        return asio::co_spawn(workers.io, std::move(task), asio::use_future).get();
    }

    LoopThread workers;
    LinuxFileSystem machine;
    FileAccess access;
};

/// Times writes, each with a new text; creating the text is not timed.
template <class Write>
void measureWrites(benchmark::State& state, Write write)
{
    for (auto _ : state) {
        state.PauseTiming();
        std::string data(bytes, 'x');
        state.ResumeTiming();
        write(std::move(data));
    }
}

void ourWrite(benchmark::State& state)
{
    Stage const stage;
    Gate gate(stage.folder);
    measureWrites(state, [&](std::string data) { gate.write(stage.file, std::move(data)); });
}

void bareWrites(benchmark::State& state)
{
    Stage const stage;
    measureWrites(state, [&](std::string const& data) { bareWrite(stage.file, data); });
}

void ourRead(benchmark::State& state)
{
    Stage const stage;
    bareWrite(stage.file, std::string(bytes, 'x'));
    Gate gate(stage.folder);
    for (auto _ : state)
        benchmark::DoNotOptimize(gate.read(stage.file));
}

void bareReads(benchmark::State& state)
{
    Stage const stage;
    bareWrite(stage.file, std::string(bytes, 'x'));
    for (auto _ : state)
        benchmark::DoNotOptimize(bareRead(stage.file));
}

/// Peak memory of a process that only does this, in files of 100 MiB.
template <class Use>
double peakIn(Use use)
{
    pid_t const child = ::fork();
    if (child == 0) {
        use();
        ::_exit(0);
    }
    rusage usage{};
    int status = 0;
    if (::wait4(child, &status, 0, &usage) != child || status != 0)
        std::abort();
    return static_cast<double>(usage.ru_maxrss) * 1024 / static_cast<double>(bytes);
}

void printPeaks()
{
    Stage const stage;
    double const writing = peakIn([&] { Gate(stage.folder).write(stage.file, std::string(bytes, 'x')); });
    double const reading = peakIn([&] { Gate(stage.folder).read(stage.file); });
    std::printf("peak memory of a process that writes: %.2f x the file, that reads: %.2f x (at most 4)\n",
                writing, reading);
}

} // namespace

} // namespace zelvo

int main(int count, char** arguments)
{
    using namespace zelvo;
    auto const ms = [](char const* name) {
        return [name](Times const& times) { return times.at(name) / 1000; };
    };
    printPeaks(); // First, while this process is small.
    benchmark::RegisterBenchmark("bareWrite", bareWrites)->UseRealTime();
    benchmark::RegisterBenchmark("ourWrite", ourWrite)->UseRealTime();
    benchmark::RegisterBenchmark("bareRead", bareReads)->UseRealTime();
    benchmark::RegisterBenchmark("ourRead", ourRead)->UseRealTime();
    return runWithRatios(count, arguments,
                         {{"a file of 100 MiB read", "bare read", ms("ourRead"), ms("bareRead"), 1.5, "ms"},
                          {"a file of 100 MiB written", "bare write, fsync, rename", ms("ourWrite"),
                           ms("bareWrite"), 1.5, "ms"}});
}
