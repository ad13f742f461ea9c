#pragma once

#include <prometheus/collectable.h>
#include <prometheus/metric_family.h>

#include <vector>

namespace zelvo::service {

/// What the system knows of this process, by the names that all programs use for it. A figure that can't be
/// read is left out. Thread: any.
class ProcessFigures final : public prometheus::Collectable {
public:
    ProcessFigures();
    std::vector<prometheus::MetricFamily> Collect() const override;

private:
    double started; ///< seconds of Unix time, when this object was made
};

} // namespace zelvo::service
