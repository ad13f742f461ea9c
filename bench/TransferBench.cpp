// Workload: 100 MiB read from the real agent program and written through it, from the frame's first byte to
// the reply's last, over the loopback interface, with constant pings. The baselines do the same work bare on
// one thread: read, base64 and one Beast send; and one Beast read, a search for the text, base64, write,
// fsync and rename. The file is in the page cache when it is read.

#include "AgentStage.h"
#include "BareFiles.h"
#include "Baselines.h"
#include "base/Base64.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <thread>

namespace zelvo {

namespace {

namespace fs = std::filesystem;
namespace websocket = boost::beast::websocket;
using tcp = boost::asio::ip::tcp;

constexpr std::size_t bytes = 100u << 20;

std::string base64Of(std::string const& content)
{
    return base64::encode({reinterpret_cast<unsigned char const*>(content.data()), content.size()});
}

AgentStage& stage()
{
    static std::unique_ptr<AgentStage> const made = [] {
        auto agent = std::make_unique<AgentStage>();
        fs::path const folder = agent->home() / "shared";
        fs::create_directories(folder);
        std::ofstream(folder / "file", std::ios::binary) << std::string(bytes, 'x');
        agent->store("dev.zelvo.fileRoots", json::array{folder.string()});
        agent->start();
        return agent;
    }();
    return *made;
}

fs::path sharedFile()
{
    return stage().home() / "shared" / "file";
}

std::string downloadFrame()
{
    return commandFrame("files.download", writeJson(json::object{{"path", sharedFile().string()}}));
}

std::string uploadFrame()
{
    return commandFrame("files.upload.begin", R"({"path":")" + sharedFile().string() + R"(","data":")" +
                                                  base64Of(std::string(bytes, 'y')) + R"("})");
}

/// Measurements of the agent other than its time.
struct Seen {
    double pong = 0;   ///< the longest, ms
    double memory = 0; ///< the peak, in multiples of the file
};
std::map<std::string, Seen> seen;

void command(benchmark::State& state, std::string const& name, std::string (*makeFrame)())
{
    AgentStage& agent = stage();
    std::string const frame = makeFrame();
    agent.ask(commandFrame("display.info"));
    agent.forgetPeak();
    for (auto _ : state) {
        seen[name].pong = std::max(seen[name].pong, agent.askUnderPings(frame));
        if (agent.answer().find("\"result\"") == std::string_view::npos)
            state.SkipWithError("no result");
    }
    seen[name].memory = agent.memory("VmHWM") * 1024 / static_cast<double>(bytes);
}

void download(benchmark::State& state)
{
    command(state, "download", downloadFrame);
}

void upload(benchmark::State& state)
{
    command(state, "upload", uploadFrame);
}

/// Connects to the driver and answers each message with the result of `work`.
class BarePeer {
public:
    BarePeer(EchoDriver& driver, std::function<std::string(std::string_view)> work)
        : thread([port = driver.port(), work = std::move(work)] { serve(port, work); })
    {
        driver.accept();
    }
    BarePeer(BarePeer const&) = delete;
    BarePeer& operator=(BarePeer const&) = delete;
    ~BarePeer() { thread.join(); }

private:
    static void serve(std::uint16_t port, std::function<std::string(std::string_view)> const& work)
    {
        boost::asio::io_context io;
        websocket::stream<tcp::socket, false> socket(io);
        socket.next_layer().connect({boost::asio::ip::address_v4::loopback(), port});
        socket.next_layer().set_option(tcp::no_delay(true));
        socket.read_message_max(0);
        socket.text(true);
        socket.handshake("127.0.0.1", "/");
        boost::beast::flat_buffer buffer;
        boost::system::error_code error;
        for (socket.read(buffer, error); !error; socket.read(buffer, error)) {
            socket.write(
                boost::asio::buffer(work({static_cast<char const*>(buffer.cdata().data()), buffer.size()})));
            buffer.clear();
        }
    }

    std::thread thread;
};

void bare(benchmark::State& state,
          std::string const& frame,
          std::function<std::string(std::string_view)> const& work)
{
    auto driver = std::make_unique<EchoDriver>();
    auto peer = std::make_unique<BarePeer>(*driver, work);
    for (auto _ : state)
        if (driver->roundTripUnderPings(frame) < 0)
            state.SkipWithError("no answer");
    driver.reset(); // Closing it ends the peer.
}

void bareDownload(benchmark::State& state)
{
    fs::path const file = sharedFile();
    bare(state, downloadFrame(), [file](std::string_view) {
        return R"({"id":"7","result":{"data":")" + base64Of(bareRead(file)) + R"("}})";
    });
}

void bareUpload(benchmark::State& state)
{
    fs::path const file = sharedFile();
    bare(state, uploadFrame(), [file](std::string_view frame) -> std::string {
        constexpr std::string_view key = R"("data":")";
        std::size_t const begin = frame.find(key) + key.size();
        auto const content = base64::decode(frame.substr(begin, frame.find('"', begin) - begin));
        bareWrite(file, *content);
        return R"({"id":"7","result":{"ok":true}})";
    });
}

void printSeen()
{
    for (auto const& [name, what] : seen)
        std::printf(
            "%s of 100 MiB: peak memory %.2f x the file (at most 4), longest pong %.0f ms (at most 100)\n",
            name.c_str(), what.memory, what.pong);
}

} // namespace

} // namespace zelvo

int main(int count, char** arguments)
{
    using namespace zelvo;
    auto const ms = [](char const* name) {
        return [name](Times const& times) { return times.at(name) / 1000; };
    };
    benchmark::RegisterBenchmark("bareDownload", bareDownload)->UseRealTime()->Iterations(5);
    benchmark::RegisterBenchmark("download", download)->UseRealTime()->Iterations(5);
    benchmark::RegisterBenchmark("bareUpload", bareUpload)->UseRealTime()->Iterations(5);
    benchmark::RegisterBenchmark("upload", upload)->UseRealTime()->Iterations(5);
    int const result =
        runWithRatios(count, arguments,
                      {{"files.download of 100 MiB", "read, base64, bare Beast send", ms("download"),
                        ms("bareDownload"), 1.5, "ms"},
                       {"files.upload.begin of 100 MiB", "bare Beast read, base64, write, fsync, rename",
                        ms("upload"), ms("bareUpload"), 0, "ms"}});
    printSeen();
    return result;
}
