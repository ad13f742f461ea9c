#pragma once

#include "base/Task.h"

#include <functional>
#include <memory>
#include <string>

namespace zelvo::service {

/// A connection to NATS that is made anew whenever it is lost.
/// Thread: the server's; the library's threads only hand over. Throws std::runtime_error if the library
/// fails.
class NatsConnection {
public:
    struct Options {
        std::string url;             ///< one or several with commas: "nats://host:4222", "tls://host"
        std::string credentialsFile; ///< of a user, as NATS's tools write it; may be empty
        std::string authorityFile;   ///< certificates by which the server is known; empty for the system's
        std::string name;            ///< shown to the operator of NATS
    };
    struct Message {
        std::string subject;
        std::string bytes;
        bool hasNoReceiver = false; ///< the answer of NATS to a request that nobody subscribes to
    };
    /// Ends when it is destroyed.
    class Subscription {
    public:
        virtual ~Subscription() = default;
    };

    /// onMessage, onChange  called on the server's thread, not after the destructor. onChange with true once
    /// for
    ///                      each time that the connection is made
    NatsConnection(Options const& options,
                   Executor server,
                   std::function<void(Message)> onMessage,
                   std::function<void(bool)> onChange);
    /// Waits until the library's threads have left, milliseconds.
    ~NatsConnection();
    NatsConnection(NatsConnection const&) = delete;
    NatsConnection& operator=(NatsConnection const&) = delete;

    bool isConnected() const;
    /// Sends a message; lost if there is no connection. replyTo  a subject, or empty
    void publish(std::string subject, std::string bytes, std::string replyTo = {});
    /// group  of the subscriptions with the same group only one gets each message; empty for no group
    std::unique_ptr<Subscription> subscribe(std::string const& subject, std::string const& group = {});

private:
    struct Library;
    class LibrarySubscription;
    std::shared_ptr<Library> library;
};

} // namespace zelvo::service
