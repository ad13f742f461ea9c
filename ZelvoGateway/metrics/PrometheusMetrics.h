#pragma once

#include "ZelvoGateway/base/Metrics.h"
#include "ZelvoGateway/metrics/GatewayReadings.h"

#include <memory>
#include <string>

namespace zelvo::service {

/// Counts with the instruments of prometheus-cpp. A label's value is looked up once and kept, so an event
/// costs an index and an addition. Thread: the server's, except text().
class PrometheusMetrics final : public Metrics {
public:
    explicit PrometheusMetrics(std::string const& version);
    ~PrometheusMetrics() override;

    void commandBegan() override;
    void commandEnded(CommandReport const& report) override;
    void refused(Refusal reason) override;
    void answered(int httpStatus) override;
    void attempted(DeliveryEnd end, Duration took) override;
    void usedStore(std::string_view operation, Duration took) override;
    void storeFailed() override;
    void usedExchange(ExchangeStep step, Duration took) override;
    void exchangeFailed() override;
    void loopWasLate(Duration late) override;

    /// Takes what is measured at the moment of a reading, also of this process.
    void take(GatewayReadings const& readings);
    /// Everything in Prometheus' text format. Any thread.
    std::string text() const;

private:
    struct Instruments;
    std::unique_ptr<Instruments> all;
};

} // namespace zelvo::service
