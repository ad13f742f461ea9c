#pragma once

#include "ZelvoGateway/base/Refusal.h"
#include "base/Clock.h"
#include "wire/ErrorCode.h"

#include <optional>
#include <string_view>

namespace zelvo::service {

/// How a command ended.
struct CommandReport {
    enum class End { done, queued, failed };
    std::string_view method; ///< as the caller sent it
    End end = End::done;
    ErrorCode error = ErrorCode::internalError; ///< for `failed`
    Duration took = {};                         ///< from its arrival, with the wait for control
};

/// What became of one attempt to deliver a webhook.
enum class DeliveryEnd { delivered, repeated, failed };

/// What the gateway asks the exchange between gateways for.
enum class ExchangeStep { find, publish, request };

/// What the gateway counts while it works. This class counts nothing: it is what parts use while metrics are
/// off. No caller's text becomes a label: methods are looked up in the table, everything else is an
/// enumerator.
/// Thread: the server's. Made by: metrics/PrometheusMetrics.
class Metrics {
public:
    virtual ~Metrics() = default;
    virtual void commandBegan() {}
    virtual void commandEnded(CommandReport const&) {}
    /// One of the gateway's limits was reached.
    virtual void refused(Refusal) {}
    virtual void answered(int /*httpStatus*/) {}
    /// took   until the receiver's answer
    virtual void attempted(DeliveryEnd, Duration /*took*/) {}
    /// operation   the name of a function of the store: text that lives as long as the program
    virtual void usedStore(std::string_view /*operation*/, Duration /*took*/) {}
    virtual void storeFailed() {}
    virtual void usedExchange(ExchangeStep, Duration /*took*/) {}
    virtual void exchangeFailed() {}
    /// How late the serving loop was for something that was due.
    virtual void loopWasLate(Duration) {}

    static Metrics& none();
};

} // namespace zelvo::service
