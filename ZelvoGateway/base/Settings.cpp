#include "ZelvoGateway/base/Settings.h"

namespace zelvo::service {

/// Only what the serving thread alone reads, each time anew.
void Settings::takeReloadable(Settings const& next)
{
    platformName = next.platformName;
    personal = next.personal;
    minimumAppVersion = next.minimumAppVersion;
    commandTimeout = next.commandTimeout;
    installUrl = next.installUrl;
    recordings.taken = next.recordings.taken;
    recordings.kept = next.recordings.kept;
    recordings.maxBytes = next.recordings.maxBytes;
    recordings.maxTotalBytes = next.recordings.maxTotalBytes;
    audit = next.audit;
    log = next.log;
    rates = next.rates;
}

} // namespace zelvo::service
