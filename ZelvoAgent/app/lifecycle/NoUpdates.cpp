#include "app/lifecycle/NoUpdates.h"

namespace zelvo {

bool NoUpdates::isConfigured() const
{
    auto const key = information.text("SUPublicEDKey");
    return key && !key->empty();
}

} // namespace zelvo
