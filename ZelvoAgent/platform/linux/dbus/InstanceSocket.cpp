#include "platform/linux/dbus/InstanceSocket.h"

#include "platform/linux/system/OwnProgram.h"
#include "platform/portable/files/Files.h"
#include "wire/Json.h"

#include <boost/asio/dispatch.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <cstring>
#include <optional>

namespace zelvo {

namespace {

using Protocol = asio::local::stream_protocol;

constexpr char const* lockName = "dev.zelvo.agent.lock";
constexpr char const* socketName = "dev.zelvo.agent.socket";

/// The socket's address through an open folder, because a socket's path must be short and a folder's path may
/// be long.
class SocketPlace {
public:
    explicit SocketPlace(std::filesystem::path const& folder)
        : opened(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC))
    {
        address.sun_family = AF_UNIX;
        std::string const path = "/proc/self/fd/" + std::to_string(opened.get()) + "/" + socketName;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
    }

    sockaddr const* data() const { return reinterpret_cast<sockaddr const*>(&address); }
    static socklen_t size() { return sizeof(sockaddr_un); }

private:
    UniqueFd opened;
    sockaddr_un address{};
};

UniqueFd newSocket()
{
    return UniqueFd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

/// A socket that only this user can connect to; invalid if it can't be created.
UniqueFd listenIn(std::filesystem::path const& folder)
{
    ::unlink((folder / socketName).c_str()); // Left by a dead process: we have the lock, so it has no owner.
    UniqueFd socket = newSocket();
    SocketPlace const place(folder);
    if (!socket || ::bind(socket.get(), place.data(), SocketPlace::size()) != 0 ||
        ::chmod((folder / socketName).c_str(), 0600) != 0 || ::listen(socket.get(), 8) != 0)
        return {};
    return socket;
}

/// The process at the other end, if it belongs to this user.
std::optional<pid_t> peerOf(int socket)
{
    ucred peer{};
    socklen_t size = sizeof peer;
    if (::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0 || peer.uid != ::geteuid())
        return std::nullopt;
    return peer.pid;
}

std::optional<std::vector<std::string>> urlsIn(std::string_view message)
{
    auto const value = parseJson(message);
    if (!value || !value->is_array())
        return std::nullopt;
    std::vector<std::string> urls;
    for (json::value const& element : value->get_array()) {
        if (!element.is_string())
            return std::nullopt;
        urls.emplace_back(element.get_string());
    }
    return urls;
}

class Deadline {
public:
    explicit Deadline(Duration patience) : end(std::chrono::steady_clock::now() + patience) {}
    bool isOver() const { return remainingMs() <= 0; }
    int remainingMs() const
    {
        return static_cast<int>(
            std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now()).count());
    }
    bool waitFor(int socket, short events) const
    {
        pollfd wanted{.fd = socket, .events = events, .revents = 0};
        return !isOver() && ::poll(&wanted, 1, remainingMs()) > 0;
    }

private:
    std::chrono::steady_clock::time_point end;
};

bool sendAll(int socket, std::string_view text, Deadline const& deadline)
{
    while (!text.empty()) {
        ssize_t const count = ::send(socket, text.data(), text.size(), MSG_NOSIGNAL);
        if (count < 0 && errno == EAGAIN && deadline.waitFor(socket, POLLOUT))
            continue;
        if (count < 0)
            return false;
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return ::shutdown(socket, SHUT_WR) == 0;
}

/// Waits until the other process confirms the message, or closes the connection.
InstanceSocket::HandOver answerFrom(int socket, Deadline const& deadline)
{
    using enum InstanceSocket::HandOver;
    if (!deadline.waitFor(socket, POLLIN))
        return done;
    char answer = 0;
    return ::recv(socket, &answer, 1, 0) == 1 ? done : unanswered;
}

} // namespace

class InstanceSocket::Server : public std::enable_shared_from_this<Server> {
public:
    Server(Executor agent, Clock& clock, UniqueFd socket, Take take)
        : agent(agent), clock(clock), acceptor(agent), take(std::move(take))
    {
        acceptor.assign(Protocol(), socket.release());
    }

    Executor const agent;

    void start()
    {
        spawn(agent, [self = shared_from_this()]() -> Task<> { co_await self->acceptAll(); });
    }

    void stop()
    {
        boost::system::error_code ignored;
        acceptor.close(ignored);
    }

private:
    /// Serves one client after another, each for `patience` at most.
    Task<> acceptAll()
    {
        while (acceptor.is_open()) {
            auto const visitor = std::make_shared<Protocol::socket>(agent);
            boost::system::error_code error;
            auto token = asio::redirect_error(asio::use_awaitable, error);
            co_await acceptor.async_accept(*visitor, token);
            if (error == asio::error::operation_aborted)
                co_return;
            if (error)
                co_await clock.sleep(1s);
            else if (peerOf(visitor->native_handle()))
                co_await receive(visitor);
        }
    }

    Task<> receive(std::shared_ptr<Protocol::socket> visitor)
    {
        TaskHandle impatience = spawn(agent, [&time = clock, visitor]() -> Task<> {
            co_await time.sleep(patience);
            visitor->close();
        });
        std::string message(maxMessage + 1, '\0');
        boost::system::error_code error;
        auto token = asio::redirect_error(asio::use_awaitable, error);
        std::size_t const size = co_await asio::async_read(*visitor, asio::buffer(message), token);
        impatience.cancel();
        auto const urls =
            error == asio::error::eof ? urlsIn(std::string_view(message).substr(0, size)) : std::nullopt;
        if (!urls)
            co_return;
        // Without an answer the visitor finds its connection closed.
        take(*urls, [visitor](bool isTaken) {
            char const taken = '!';
            if (isTaken)
                ::send(visitor->native_handle(), &taken, 1, MSG_NOSIGNAL | MSG_DONTWAIT);
        });
    }

    Clock& clock;
    Protocol::acceptor acceptor;
    Take take;
};

InstanceSocket::~InstanceSocket()
{
    if (!server)
        return;
    ::unlink((folder / socketName).c_str());
    asio::dispatch(server->agent, [kept = server] { kept->stop(); });
}

bool InstanceSocket::lock()
{
    files::makePrivateFolder(folder);
    UniqueFd file(::open((folder / lockName).c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!file)
        return true;
    if (::flock(file.get(), LOCK_EX | LOCK_NB) != 0)
        return errno != EWOULDBLOCK;
    lockFile = std::move(file);
    return true;
}

InstanceSocket::HandOver InstanceSocket::handOver(std::vector<std::string> const& urls) const
{
    std::string const message = writeJson(json::array(urls.begin(), urls.end()));
    if (message.size() > maxMessage)
        return HandOver::refused;
    Deadline const deadline(answerPatience);
    UniqueFd const socket = newSocket();
    SocketPlace const place(folder);
    if (!socket || ::connect(socket.get(), place.data(), SocketPlace::size()) != 0)
        return HandOver::unanswered;
    auto const holder = peerOf(socket.get());
    if (!holder || !runsOwnProgram(*holder))
        return HandOver::refused;
    return sendAll(socket.get(), message, deadline) ? answerFrom(socket.get(), deadline)
                                                    : HandOver::unanswered;
}

void InstanceSocket::serve(Executor agent, Clock& clock, Take take)
{
    UniqueFd socket = lockFile ? listenIn(folder) : UniqueFd();
    if (!socket)
        return;
    server = std::make_shared<Server>(agent, clock, std::move(socket), std::move(take));
    asio::dispatch(agent, [kept = server] { kept->start(); });
}

} // namespace zelvo
