#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/SecretStore.h"

#include <filesystem>
#include <memory>

namespace zelvo {

/// The Secret Service of the session bus, and a folder of files for when it does not answer. A read asks the
/// service, then the file. A write goes to the service and removes the file, or goes to the file. A removal
/// clears both. A change that the service missed is noted beside the file and applied once the service
/// answers again, so that no replaced or removed secret comes back.
class LinuxSecretStore final : public SecretStore {
public:
    /// Calls its argument, on any thread, each time the key ring appears or is unlocked.
    using Watch = std::function<void(std::function<void()> onAvailable)>;

    enum class Places {
        serviceAndFiles,
        files, ///< the service is never asked
    };

    /// folder  for the files, which are named SERVICE.ACCOUNT; made with mode 0700 at the first write; watch
    /// may be empty: then nobody is notified
    LinuxSecretStore(Contexts const& contexts,
                     Clock& clock,
                     std::filesystem::path folder,
                     Watch watch,
                     Places places = Places::serviceAndFiles);
    ~LinuxSecretStore() override;

    Task<std::optional<std::string>> get(std::string service, std::string account) override;
    Task<> set(std::string service, std::string account, std::string secret) override;
    Task<> remove(std::string service, std::string account) override;
    void onBecameAvailable(std::function<void()> call) override;

private:
    class Rings;
    struct Observer;
    Contexts contexts;
    Executor strand;
    std::shared_ptr<Rings> rings; // strand
    std::shared_ptr<Observer> observer;
};

} // namespace zelvo
