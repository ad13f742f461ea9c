#include "ZelvoGateway/exchange/nats/NatsConnection.h"

#include "ZelvoGateway/base/Settings.h"
#include "base/ReleaseWith.h"

#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>

#include <nats/nats.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <utility>

namespace zelvo::service {

namespace {

constexpr int maxReconnects = -1;    // None.
constexpr int reconnectWait = 200;   // ms
constexpr int reconnectJitter = 300; // ms
constexpr int connectTimeout = 2000; // ms
constexpr int pingInterval = 2000;   // ms; a dead peer is noticed after two of them.
constexpr int maxPings = 2;
constexpr int writeDeadline = 5000; // ms
constexpr std::size_t maxUnsent = 256_MiB;
constexpr int maxPendingMessages = 1'000'000;
constexpr int maxPendingBytes = 256 * 1024 * 1024;

using NatsOptionsPtr = std::unique_ptr<natsOptions, ReleaseWith<natsOptions_Destroy>>;
using NatsMessagePtr = std::unique_ptr<natsMsg, ReleaseWith<natsMsg_Destroy>>;

void assertDone(natsStatus status)
{
    if (status != NATS_OK)
        throw std::runtime_error(std::string("NATS: ") + natsStatus_GetText(status));
}

} // namespace

struct NatsConnection::Library : std::enable_shared_from_this<Library> {
    Library(Executor server, std::function<void(Message)> onMessage, std::function<void(bool)> onChange)
        : server(std::move(server)), onMessage(std::move(onMessage)), onChange(std::move(onChange))
    {
    }

    void connect(Options const& wanted);
    void end();
    /// What the library keeps as a closure: it calls us no more once each was given back.
    void* lend();
    static void giveBack(void* closure);
    static Library& of(void* closure) { return **static_cast<std::shared_ptr<Library>*>(closure); }
    void changed(bool isConnectedNow);
    void received(NatsMessagePtr message);

    Executor server;
    std::function<void(Message)> onMessage; // server
    std::function<void(bool)> onChange;     // server
    bool isOver = false;                    // server
    std::atomic<bool> isConnected = false;
    std::atomic<std::size_t> unsent = 0;
    natsConnection* connection = nullptr;
    // A thread that may wait for a slow server: the library writes on the caller's.
    asio::thread_pool sender{1};

    std::mutex lock;
    std::condition_variable givenBack;
    int lent = 0; // lock
};

void* NatsConnection::Library::lend()
{
    std::scoped_lock const guard(lock);
    ++lent;
    return new std::shared_ptr<Library>(shared_from_this());
}

void NatsConnection::Library::giveBack(void* closure)
{
    std::unique_ptr<std::shared_ptr<Library>> const own(static_cast<std::shared_ptr<Library>*>(closure));
    Library& library = **own;
    std::scoped_lock const guard(library.lock);
    --library.lent;
    library.givenBack.notify_all();
}

void NatsConnection::Library::changed(bool isConnectedNow)
{
    isConnected = isConnectedNow;
    asio::post(server, [self = shared_from_this(), isConnectedNow] {
        if (!self->isOver)
            self->onChange(isConnectedNow);
    });
}

void NatsConnection::Library::received(NatsMessagePtr message)
{
    Message heard{
        .subject = natsMsg_GetSubject(message.get()),
        .bytes = std::string(natsMsg_GetData(message.get()),
                             static_cast<std::size_t>(natsMsg_GetDataLength(message.get()))),
        .hasNoReceiver = natsMsg_IsNoResponders(message.get()),
    };
    asio::post(server, [self = shared_from_this(), heard = std::move(heard)]() mutable {
        if (!self->isOver)
            self->onMessage(std::move(heard));
    });
}

void NatsConnection::Library::connect(Options const& wanted)
{
    natsOptions* made = nullptr;
    assertDone(natsOptions_Create(&made));
    NatsOptionsPtr const options(made);
    assertDone(natsOptions_SetURL(made, wanted.url.c_str()));
    assertDone(natsOptions_SetName(made, wanted.name.c_str()));
    assertDone(natsOptions_SetNoEcho(made, true));
    assertDone(natsOptions_SetTimeout(made, connectTimeout));
    assertDone(natsOptions_SetMaxReconnect(made, maxReconnects));
    assertDone(natsOptions_SetReconnectWait(made, reconnectWait));
    assertDone(natsOptions_SetReconnectJitter(made, reconnectJitter, reconnectJitter));
    assertDone(
        natsOptions_SetReconnectBufSize(made, 1)); // What cannot be sent now is lost, and its sender knows.
    assertDone(natsOptions_SetPingInterval(made, pingInterval));
    assertDone(natsOptions_SetMaxPingsOut(made, maxPings));
    assertDone(natsOptions_SetWriteDeadline(made, writeDeadline));
    assertDone(natsOptions_SetSendAsap(made, true));
    assertDone(natsOptions_UseGlobalMessageDelivery(made, true));
    assertDone(nats_SetMessageDeliveryPoolSize(1)); // One thread keeps the order between subscriptions.
    if (!wanted.credentialsFile.empty())
        assertDone(natsOptions_SetUserCredentialsFromFiles(made, wanted.credentialsFile.c_str(), nullptr));
    if (!wanted.authorityFile.empty())
        assertDone(natsOptions_LoadCATrustedCertificates(made, wanted.authorityFile.c_str()));
    auto const up = [](natsConnection*, void* closure) { of(closure).changed(true); };
    auto const down = [](natsConnection*, void* closure) { of(closure).changed(false); };
    void* const closure = lend();
    assertDone(natsOptions_SetDisconnectedCB(made, down, closure));
    assertDone(natsOptions_SetReconnectedCB(made, up, closure));
    assertDone(natsOptions_SetRetryOnFailedConnect(made, true, up, closure));
    assertDone(natsOptions_SetClosedCB(made, [](natsConnection*, void* last) { giveBack(last); }, closure));
    natsStatus const status = natsConnection_Connect(&connection, made);
    if (status == NATS_OK)
        return changed(true);
    if (status == NATS_NOT_YET_CONNECTED)
        return;
    giveBack(closure);
    assertDone(status);
}

void NatsConnection::Library::end()
{
    isOver = true;
    sender.stop();
    sender.join();
    if (connection) {
        natsConnection_Close(connection);
        natsConnection_Destroy(connection);
    }
    std::unique_lock guard(lock);
    givenBack.wait(guard, [this] { return lent == 0; });
}

class NatsConnection::LibrarySubscription final : public Subscription {
public:
    LibrarySubscription(std::shared_ptr<Library> library,
                        std::string const& subject,
                        std::string const& group)
        : library(std::move(library))
    {
        auto const hear = [](natsConnection*, natsSubscription*, natsMsg* message, void* closure) {
            Library::of(closure).received(NatsMessagePtr(message));
        };
        void* const closure = this->library->lend();
        natsConnection* const connection = this->library->connection;
        natsStatus const status =
            group.empty()
                ? natsConnection_Subscribe(&subscription, connection, subject.c_str(), hear, closure)
                : natsConnection_QueueSubscribe(&subscription, connection, subject.c_str(), group.c_str(),
                                                hear, closure);
        if (status != NATS_OK)
            Library::giveBack(closure);
        assertDone(status);
        if (natsSubscription_SetOnCompleteCB(subscription, Library::giveBack, closure) != NATS_OK)
            Library::giveBack(closure); // The connection was closed: nothing is received any more.
        natsSubscription_SetPendingLimits(subscription, maxPendingMessages, maxPendingBytes);
    }
    LibrarySubscription(LibrarySubscription const&) = delete;
    LibrarySubscription& operator=(LibrarySubscription const&) = delete;
    ~LibrarySubscription() override { natsSubscription_Destroy(subscription); }

private:
    std::shared_ptr<Library> library;
    natsSubscription* subscription = nullptr;
};

NatsConnection::NatsConnection(Options const& options,
                               Executor server,
                               std::function<void(Message)> onMessage,
                               std::function<void(bool)> onChange)
    : library(std::make_shared<Library>(std::move(server), std::move(onMessage), std::move(onChange)))
{
    library->connect(options);
}

NatsConnection::~NatsConnection()
{
    library->end();
}

bool NatsConnection::isConnected() const
{
    return library->isConnected;
}

void NatsConnection::publish(std::string subject, std::string bytes, std::string replyTo)
{
    std::size_t const size = bytes.size();
    if (!library->isConnected || library->unsent + size > maxUnsent)
        return;
    library->unsent += size;
    asio::post(library->sender, [own = library.get(), subject = std::move(subject), bytes = std::move(bytes),
                                 replyTo = std::move(replyTo)] {
        auto const length = static_cast<int>(bytes.size());
        // A message that is lost here is one that nobody answers.
        if (replyTo.empty())
            natsConnection_Publish(own->connection, subject.c_str(), bytes.data(), length);
        else
            natsConnection_PublishRequest(own->connection, subject.c_str(), replyTo.c_str(), bytes.data(),
                                          length);
        own->unsent -= bytes.size();
    });
}

std::unique_ptr<NatsConnection::Subscription> NatsConnection::subscribe(std::string const& subject,
                                                                        std::string const& group)
{
    return std::make_unique<LibrarySubscription>(library, subject, group);
}

} // namespace zelvo::service
