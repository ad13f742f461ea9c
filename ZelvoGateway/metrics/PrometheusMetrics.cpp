#include "ZelvoGateway/metrics/PrometheusMetrics.h"

#include "ZelvoGateway/base/DeliveryNames.h"
#include "ZelvoGateway/metrics/ProcessFigures.h"
#include "wire/MethodTable.h"

#include <prometheus/counter.h>
#include <prometheus/family.h>
#include <prometheus/gauge.h>
#include <prometheus/histogram.h>
#include <prometheus/registry.h>
#include <prometheus/text_serializer.h>

#include <algorithm>
#include <array>
#include <map>
#include <sstream>

namespace zelvo::service {

namespace {

using prometheus::Counter;
using prometheus::Family;
using prometheus::Gauge;
using prometheus::Histogram;
using Buckets = Histogram::BucketBoundaries;

// Seconds.
Buckets const commandTimes = {0.005, 0.01, 0.025, 0.05, 0.1, 0.25, 0.5, 1, 2.5, 5, 10, 30, 60, 180};
Buckets const deliveryTimes = {0.05, 0.1, 0.25, 0.5, 1, 2.5, 5, 10};
Buckets const storeTimes = {0.00001, 0.0001, 0.001, 0.005, 0.025, 0.1, 1};
Buckets const exchangeTimes = {0.0005, 0.001, 0.0025, 0.005, 0.01, 0.05, 0.25, 1, 5};
Buckets const loopTimes = {0.001, 0.005, 0.01, 0.05, 0.1, 0.5, 1, 5};

constexpr std::array<std::string_view, 3> exchangeSteps = {"find", "publish", "request"};
constexpr std::array<std::string_view, 5> statusClasses = {"1xx", "2xx", "3xx", "4xx", "5xx"};

constexpr std::size_t methodRows = methods.size() + 1; // The last is for what is in no table.
constexpr std::size_t endsBeforeErrors = 2;            // "done" and "queued".
constexpr std::size_t commandEnds = endsBeforeErrors + EnumTexts<ErrorCode>::texts.size();

double seconds(Duration time)
{
    return std::chrono::duration<double>(time).count();
}

std::size_t rowOf(std::string_view method)
{
    Method const* const row = methodNamed(method);
    return row ? static_cast<std::size_t>(row - methods.data()) : methods.size();
}

std::string methodText(std::size_t row)
{
    return row < methods.size() ? std::string(methods[row].name) : "unknown";
}

std::size_t endOf(CommandReport const& report)
{
    if (report.end == CommandReport::End::failed)
        return endsBeforeErrors + static_cast<std::size_t>(report.error);
    return report.end == CommandReport::End::queued ? 1 : 0;
}

std::string endText(std::size_t end)
{
    if (end < endsBeforeErrors)
        return end == 0 ? "done" : "queued";
    return std::string(rawValue(static_cast<ErrorCode>(end - endsBeforeErrors)));
}

/// A counter for each value of an enumeration; all exist from the start, so that the first event is an
/// increase.
template <std::size_t size>
std::array<Counter*, size>
countersOf(Family<Counter>& family, std::string const& label, std::array<std::string_view, size> const& texts)
{
    std::array<Counter*, size> counters{};
    for (std::size_t i = 0; i < size; ++i)
        counters[i] = &family.Add({{label, std::string(texts[i])}});
    return counters;
}

} // namespace

struct PrometheusMetrics::Instruments {
    explicit Instruments(std::string const& version);

    Family<Counter>& counters(std::string const& name, std::string const& help)
    {
        return prometheus::BuildCounter().Name(name).Help(help).Register(registry);
    }
    Counter& counter(std::string const& name, std::string const& help)
    {
        return counters(name, help).Add({});
    }
    Gauge& gauge(std::string const& name, std::string const& help)
    {
        return prometheus::BuildGauge().Name(name).Help(help).Register(registry).Add({});
    }
    Family<Histogram>& histograms(std::string const& name, std::string const& help)
    {
        return prometheus::BuildHistogram().Name(name).Help(help).Register(registry);
    }

    prometheus::Registry registry;
    ProcessFigures process;

    Family<Counter>& commands =
        counters("zelvo_commands_total", "Commands of callers that ended, by outcome.");
    Family<Histogram>& commandSeconds =
        histograms("zelvo_command_duration_seconds", "From a command's arrival to its end.");
    std::array<std::array<Counter*, commandEnds>, methodRows> commandCounters{};
    std::array<Histogram*, methodRows> commandHistograms{};
    Gauge& running = gauge("zelvo_commands_in_progress", "Commands of callers that have not ended.");

    std::array<Counter*, refusalNames.size()> refusals =
        countersOf(counters("zelvo_refused_total", "What a limit refused, slowed down or closed."),
                   "reason",
                   refusalNames);
    std::array<Counter*, statusClasses.size()> responses =
        countersOf(counters("zelvo_http_responses_total", "HTTP responses, by class of status."),
                   "status",
                   statusClasses);
    std::array<Counter*, deliveryNames.size()> deliveries =
        countersOf(counters("zelvo_webhook_deliveries_total", "Attempts to deliver webhooks, by outcome."),
                   "outcome",
                   deliveryNames);
    Histogram& deliverySeconds =
        histograms("zelvo_webhook_delivery_duration_seconds", "From an attempt's beginning to the answer.")
            .Add({}, deliveryTimes);

    Family<Histogram>& store = histograms("zelvo_store_duration_seconds", "Calls of the store.");
    std::map<char const*, Histogram*> storeHistograms; // By the text's address: each operation has one text.
    Counter& storeErrors = counter("zelvo_store_errors_total", "Calls of the store that failed.");
    std::array<Histogram*, exchangeSteps.size()> exchange{};
    Counter& exchangeErrors =
        counter("zelvo_exchange_errors_total", "Calls of the exchange between gateways that failed.");
    Histogram& loopDelay =
        histograms("zelvo_loop_delay_seconds", "How late the serving loop is, measured once a second.")
            .Add({}, loopTimes);

    Gauge& machines = gauge("zelvo_machines_connected", "Machines that are connected to this gateway.");
    Gauge& maxMachines = gauge("zelvo_machines_limit", "How many may be.");
    Gauge& connections = gauge("zelvo_http_connections", "HTTP connections that are open.");
    Gauge& maxConnections = gauge("zelvo_http_connections_limit", "How many may be.");
    Gauge& openWork = gauge("zelvo_open_work", "Requests and commands that a stop would wait for.");
    Gauge& memoryUsed = gauge("zelvo_memory_budget_used_bytes", "Large bodies and messages that are held.");
    Gauge& memoryLimit = gauge("zelvo_memory_budget_limit_bytes", "What they may take up.");
    Gauge& auditEvents = gauge("zelvo_audit_events_waiting", "Audit events that are not stored yet.");
    Gauge& queuedCommands = gauge("zelvo_commands_queued",
                                  "Commands in the store that wait for machines, counted once a minute.");
    Gauge& waitingDeliveries = gauge("zelvo_webhook_deliveries_waiting",
                                     "Deliveries in the store that wait, counted once a minute.");
};

PrometheusMetrics::Instruments::Instruments(std::string const& version)
{
    auto& steps = histograms("zelvo_exchange_duration_seconds", "Calls of the exchange between gateways.");
    for (std::size_t i = 0; i < exchange.size(); ++i)
        exchange[i] = &steps.Add({{"operation", std::string(exchangeSteps[i])}}, exchangeTimes);
    prometheus::BuildGauge()
        .Name("zelvo_build_info")
        .Help("The version that runs; always 1.")
        .Register(registry)
        .Add({{"version", version}})
        .Set(1);
}

PrometheusMetrics::PrometheusMetrics(std::string const& version) : all(std::make_unique<Instruments>(version))
{
}

PrometheusMetrics::~PrometheusMetrics() = default;

void PrometheusMetrics::commandBegan()
{
    all->running.Increment();
}

void PrometheusMetrics::commandEnded(CommandReport const& report)
{
    std::size_t const row = rowOf(report.method);
    std::size_t const end = endOf(report);
    Counter*& counter = all->commandCounters[row][end];
    if (!counter)
        counter = &all->commands.Add({{"method", methodText(row)}, {"outcome", endText(end)}});
    Histogram*& histogram = all->commandHistograms[row];
    if (!histogram)
        histogram = &all->commandSeconds.Add({{"method", methodText(row)}}, commandTimes);
    counter->Increment();
    histogram->Observe(seconds(report.took));
    all->running.Decrement();
}

void PrometheusMetrics::refused(Refusal reason)
{
    all->refusals.at(static_cast<std::size_t>(reason))->Increment();
}

void PrometheusMetrics::answered(int httpStatus)
{
    constexpr int perClass = 100;
    int const found = std::clamp(httpStatus / perClass, 1, static_cast<int>(statusClasses.size()));
    all->responses.at(static_cast<std::size_t>(found - 1))->Increment();
}

void PrometheusMetrics::attempted(DeliveryEnd end, Duration took)
{
    all->deliveries.at(static_cast<std::size_t>(end))->Increment();
    all->deliverySeconds.Observe(seconds(took));
}

void PrometheusMetrics::usedStore(std::string_view operation, Duration took)
{
    Histogram*& histogram = all->storeHistograms[operation.data()];
    if (!histogram)
        histogram = &all->store.Add({{"operation", std::string(operation)}}, storeTimes);
    histogram->Observe(seconds(took));
}

void PrometheusMetrics::storeFailed()
{
    all->storeErrors.Increment();
}

void PrometheusMetrics::usedExchange(ExchangeStep step, Duration took)
{
    all->exchange.at(static_cast<std::size_t>(step))->Observe(seconds(took));
}

void PrometheusMetrics::exchangeFailed()
{
    all->exchangeErrors.Increment();
}

void PrometheusMetrics::loopWasLate(Duration late)
{
    all->loopDelay.Observe(seconds(late));
}

void PrometheusMetrics::take(GatewayReadings const& readings)
{
    auto const set = [](Gauge& gauge, auto value) { gauge.Set(static_cast<double>(value)); };
    set(all->machines, readings.machines);
    set(all->maxMachines, readings.maxMachines);
    set(all->connections, readings.connections);
    set(all->maxConnections, readings.maxConnections);
    set(all->openWork, readings.openWork);
    set(all->memoryUsed, readings.memoryUsed);
    set(all->memoryLimit, readings.memoryLimit);
    set(all->auditEvents, readings.auditEvents);
    set(all->queuedCommands, readings.queuedCommands);
    set(all->waitingDeliveries, readings.waitingDeliveries);
}

std::string PrometheusMetrics::text() const
{
    auto families = all->registry.Collect();
    auto const process = all->process.Collect();
    families.insert(families.end(), process.begin(), process.end());
    return prometheus::TextSerializer().Serialize(families);
}

} // namespace zelvo::service
