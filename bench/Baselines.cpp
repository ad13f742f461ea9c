#include "Baselines.h"

#include "LoopThread.h"

#include <boost/asio/post.hpp>

#include <atomic>

namespace zelvo {

namespace {

struct HopGame {
    void play(bool atHome)
    {
        if (--left == 0) {
            done = true;
            done.notify_one();
            return;
        }
        boost::asio::post(atHome ? away.io : home.io, [this, atHome] { play(!atHome); });
    }

    LoopThread home;
    LoopThread away;
    int left = 0;
    std::atomic<bool> done = false;
};

constexpr int hopsAnIteration = 1000;

} // namespace

void measureRoundTrips(benchmark::State& state, EchoDriver& driver, std::string const& text)
{
    driver.roundTrip(text);
    for (auto _ : state)
        if (driver.roundTrip(text) != text.size())
            state.SkipWithError("another message came back");
}

void bareEcho(benchmark::State& state, std::string const& text)
{
    EchoDriver driver;
    BareEcho const bare(driver.port());
    driver.accept();
    measureRoundTrips(state, driver, text);
}

void hops(benchmark::State& state)
{
    HopGame game;
    for (auto _ : state) {
        game.left = hopsAnIteration;
        game.done = false;
        boost::asio::post(game.home.io, [&game] { game.play(true); });
        game.done.wait(false);
    }
}

double hopOf(Times const& times)
{
    return times.at("hops") / hopsAnIteration;
}

std::function<double(Times const&)> timeOf(std::string name)
{
    return [name = std::move(name)](Times const& times) { return times.at(name); };
}

} // namespace zelvo
