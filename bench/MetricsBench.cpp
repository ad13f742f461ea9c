// Workload: what one command costs its gateway in metrics: its begin and end, its HTTP response, and the
// calls of the store that it makes. "off" calls the same through the interface that counts nothing.

#include "ZelvoGateway/metrics/PrometheusMetrics.h"

#include <benchmark/benchmark.h>

namespace zelvo::service {

namespace {

constexpr int storeCalls = 20; // More than a command makes.

void countCommand(Metrics& metrics)
{
    metrics.commandBegan();
    for (int call = 0; call < storeCalls; ++call) {
        auto const began = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(began);
        metrics.usedStore("connection", std::chrono::steady_clock::now() - began);
    }
    metrics.answered(200);
    metrics.commandEnded({.method = "cursor.position", .took = std::chrono::milliseconds(1)});
}

void on(benchmark::State& state)
{
    PrometheusMetrics metrics("1");
    for (auto _ : state)
        countCommand(metrics);
}

/// Without the store's part, which is not there while metrics are off.
void off(benchmark::State& state)
{
    Metrics& metrics = Metrics::none();
    for (auto _ : state) {
        metrics.commandBegan();
        metrics.answered(200);
        metrics.commandEnded({.method = "cursor.position", .took = std::chrono::milliseconds(1)});
        benchmark::ClobberMemory();
    }
}

void scrape(benchmark::State& state)
{
    PrometheusMetrics metrics("1");
    for (int i = 0; i < 100; ++i)
        countCommand(metrics);
    for (auto _ : state)
        benchmark::DoNotOptimize(metrics.text());
}

} // namespace

BENCHMARK(on);
BENCHMARK(off);
BENCHMARK(scrape);

} // namespace zelvo::service

BENCHMARK_MAIN();
