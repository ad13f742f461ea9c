#pragma once

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/base/Metrics.h"
#include "base/Clock.h"

#include <string>

namespace zelvo::service {

/// Reports a command when its scope ends. What nobody noted as done, queued or failed counts as an internal
/// error. Thread: the server's.
class CommandMeasure {
public:
    CommandMeasure(Metrics& metrics, Clock const& clock, std::string method)
        : CommandMeasure(metrics, clock, std::move(method), clock.now())
    {
    }
    CommandMeasure(Metrics& metrics, Clock const& clock, std::string method, Instant began)
        : metrics(metrics), clock(clock), method(std::move(method)), began(began)
    {
        metrics.commandBegan();
    }
    CommandMeasure(CommandMeasure const&) = delete;
    CommandMeasure& operator=(CommandMeasure const&) = delete;
    ~CommandMeasure()
    {
        report.method = method;
        report.took = clock.now() - began;
        metrics.commandEnded(report);
    }

    void ended(CommandReport::End how) { report.end = how; }
    void failed(ErrorCode code) { report.error = code; }
    void failed(Failure const& failure)
    {
        failed(failure.code);
        if (failure.limit)
            metrics.refused(*failure.limit);
    }

private:
    Metrics& metrics;
    Clock const& clock;
    std::string method;
    Instant began;
    CommandReport report{.end = CommandReport::End::failed};
};

} // namespace zelvo::service
