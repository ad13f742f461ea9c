#pragma once

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/base/Metrics.h"
#include "base/Clock.h"

#include <string>

namespace zelvo::service {

/// Reports a command when its scope ends: to the metrics, and at the level debug to the log. What nobody
/// noted as done, queued or failed counts as an internal error. Thread: the server's.
class CommandMeasure {
public:
    struct Subject {
        std::string method;
        std::string requestId;
        std::string connectionId;
    };

    CommandMeasure(Metrics& metrics, Clock const& clock, Subject subject)
        : CommandMeasure(metrics, clock, std::move(subject), clock.now())
    {
    }
    CommandMeasure(Metrics& metrics, Clock const& clock, Subject subject, Instant began);
    CommandMeasure(CommandMeasure const&) = delete;
    CommandMeasure& operator=(CommandMeasure const&) = delete;
    ~CommandMeasure();

    void ended(CommandReport::End how) { report.end = how; }
    void failed(ErrorCode code) { report.error = code; }
    void failed(Failure const& failure);

private:
    void log() const;

    Metrics& metrics;
    Clock const& clock;
    Subject subject;
    Instant began;
    CommandReport report{.end = CommandReport::End::failed};
};

} // namespace zelvo::service
