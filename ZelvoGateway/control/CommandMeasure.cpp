#include "ZelvoGateway/control/CommandMeasure.h"

#include "ZelvoGateway/base/KnownMethod.h"
#include "ZelvoGateway/base/Log.h"

namespace zelvo::service {

namespace {

std::string_view outcomeOf(CommandReport const& report)
{
    if (report.end == CommandReport::End::failed)
        return rawValue(report.error);
    return report.end == CommandReport::End::queued ? "queued" : "done";
}

} // namespace

CommandMeasure::CommandMeasure(Metrics& metrics, Clock const& clock, Subject subject, Instant began)
    : metrics(metrics), clock(clock), subject(std::move(subject)), began(began)
{
    metrics.commandBegan();
}

CommandMeasure::~CommandMeasure()
{
    report.method = subject.method;
    report.took = clock.now() - began;
    metrics.commandEnded(report);
    if (Log::takes(Log::Level::debug))
        log();
}

void CommandMeasure::failed(Failure const& failure)
{
    failed(failure.code);
    if (failure.limit)
        metrics.refused(*failure.limit);
}

void CommandMeasure::log() const
{
    std::string_view const method = knownMethod(subject.method);
    std::string_view const outcome = outcomeOf(report);
    auto const took = std::chrono::duration_cast<std::chrono::milliseconds>(report.took).count();
    Log::debug(subject.requestId + (subject.requestId.empty() ? "" : " ") + std::string(method) +
                   " ended: " + std::string(outcome) + ", " + std::to_string(took) + " ms",
               {{"requestId", subject.requestId},
                {"connection", subject.connectionId},
                {"method", method},
                {"outcome", outcome},
                {"durationMs", took}});
}

} // namespace zelvo::service
