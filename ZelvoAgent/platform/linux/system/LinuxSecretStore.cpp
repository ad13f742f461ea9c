#include "platform/linux/system/LinuxSecretStore.h"

#include "base/Hop.h"
#include "base/Text.h"
#include "platform/linux/system/SecretServiceCalls.h"
#include "platform/portable/files/Files.h"

#include <boost/asio/post.hpp>
#include <boost/asio/strand.hpp>

#include <unistd.h>

#include <cerrno>
#include <mutex>

namespace zelvo {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t maxSecret = 1u << 20;

bool isFileName(SecretName const& name)
{
    std::string const file = name.service + "." + name.account;
    return !file.starts_with('.') && file.size() <= 200 &&
           file.find_first_of(std::string_view("/\0", 2)) == std::string::npos;
}

} // namespace

/// The service and the files together, on the strand.
class LinuxSecretStore::Rings {
public:
    Rings(Executor agent, Clock& clock, fs::path folder, Places places) : folder(std::move(folder))
    {
        if (places == Places::serviceAndFiles)
            service.emplace(std::move(agent), clock);
    }

    std::optional<std::string> get(SecretName const& name)
    {
        std::optional<std::string> secret;
        if (service && isMadeUp(name))
            secret = service->get(name).secret;
        if (!secret)
            if (auto file = files::read(fileOf(name), maxSecret))
                secret = std::move(file->content);
        return secret ? std::optional(text::repaired(*secret)) : std::nullopt;
    }

    void set(SecretName const& name, std::string const& secret)
    {
        if (service && service->set(name, secret)) {
            drop(fileOf(name));
            drop(noteOf(name));
            return;
        }
        // The note first: with the file alone, a service that returns would win with its old value.
        if (service)
            write(noteOf(name), "");
        write(fileOf(name), secret);
    }

    void remove(SecretName const& name)
    {
        bool const isGone = !service || service->remove(name);
        if (isGone)
            drop(noteOf(name));
        else if (files::makePrivateFolder(folder))
            files::replace(noteOf(name), "");
        drop(fileOf(name));
        files::syncFolder(folder);
    }

private:
    fs::path fileOf(SecretName const& name) const { return folder / (name.service + "." + name.account); }
    fs::path noteOf(SecretName const& name) const
    {
        return folder / (name.service + "." + name.account + ".newer");
    }

    /// Applies the changes that the service missed. False if it refuses them; its values are then out of
    /// date.
    bool isMadeUp(SecretName const& name)
    {
        if (!files::identityOf(noteOf(name)))
            return true;
        auto const file = files::read(fileOf(name), maxSecret);
        if (file ? !service->set(name, file->content) : !service->remove(name))
            return false;
        drop(fileOf(name));
        drop(noteOf(name));
        return true;
    }

    void write(fs::path const& path, std::string const& content)
    {
        if (!files::makePrivateFolder(folder) || !files::replace(path, content))
            throw SecretStoreFailure{.status = errno};
        files::syncFolder(folder);
    }

    static void drop(fs::path const& path) { ::unlink(path.c_str()); }

    std::optional<SecretServiceCalls> service;
    fs::path folder;
};

struct LinuxSecretStore::Observer {
    std::mutex lock;
    std::function<void()> call; // lock
};

LinuxSecretStore::LinuxSecretStore(
    Contexts const& contexts, Clock& clock, fs::path folder, Watch watch, Places places)
    : contexts(contexts), strand(asio::make_strand(contexts.workers)),
      rings(std::make_shared<Rings>(contexts.agent, clock, std::move(folder), places)),
      observer(std::make_shared<Observer>())
{
    if (!watch || places == Places::files)
        return;
    watch([main = contexts.main, weak = std::weak_ptr(observer)] {
        asio::post(main, [weak] {
            auto const kept = weak.lock();
            if (!kept)
                return;
            std::unique_lock guard(kept->lock);
            auto const call = kept->call;
            guard.unlock();
            if (call)
                call();
        });
    });
}

LinuxSecretStore::~LinuxSecretStore() = default;

Task<std::optional<std::string>> LinuxSecretStore::get(std::string service, std::string account)
{
    SecretName const name{std::move(service), std::move(account)};
    if (!isFileName(name))
        co_return std::nullopt;
    auto work = [kept = rings, &name] { return kept->get(name); };
    co_return co_await on(strand, work);
}

Task<> LinuxSecretStore::set(std::string service, std::string account, std::string secret)
{
    SecretName const name{std::move(service), std::move(account)};
    if (!isFileName(name))
        throw SecretStoreFailure{.status = EINVAL};
    auto work = [kept = rings, &name, &secret] { kept->set(name, secret); };
    co_await on(strand, work);
}

Task<> LinuxSecretStore::remove(std::string service, std::string account)
{
    SecretName const name{std::move(service), std::move(account)};
    if (!isFileName(name))
        co_return;
    auto work = [kept = rings, &name] { kept->remove(name); };
    co_await on(strand, work);
}

void LinuxSecretStore::onBecameAvailable(std::function<void()> call)
{
    std::scoped_lock guard(observer->lock);
    observer->call = std::move(call);
}

} // namespace zelvo
