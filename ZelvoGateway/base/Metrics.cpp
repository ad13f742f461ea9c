#include "ZelvoGateway/base/Metrics.h"

namespace zelvo::service {

Metrics& Metrics::none()
{
    static Metrics nothing;
    return nothing;
}

} // namespace zelvo::service
