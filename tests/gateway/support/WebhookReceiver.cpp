#include "gateway/support/WebhookReceiver.h"

#include "base/Text.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <sstream>
#include <stdexcept>

namespace zelvo::service {

WebhookReceiver::WebhookReceiver() : WebhookReceiver(withStatus(200)) {}

WebhookReceiver::WebhookReceiver(Answer answer)
    : listening(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)), answer(std::move(answer))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (::bind(listening, reinterpret_cast<sockaddr*>(&address), size) != 0 || ::listen(listening, 64) != 0 ||
        ::getsockname(listening, reinterpret_cast<sockaddr*>(&address), &size) != 0)
        throw std::runtime_error("cannot listen");
    boundPort = ntohs(address.sin_port);
    accepting = std::thread([this] { acceptAll(); });
}

WebhookReceiver::~WebhookReceiver()
{
    ::shutdown(listening, SHUT_RDWR);
    accepting.join();
    {
        std::scoped_lock guard(lock);
        for (int const socket : sockets)
            ::shutdown(socket, SHUT_RDWR);
    }
    for (std::thread& thread : threads)
        thread.join();
    for (int const socket : sockets)
        ::close(socket);
    ::close(listening);
}

WebhookReceiver::Answer WebhookReceiver::withStatus(int status, std::string const& more)
{
    return [=](int socket) {
        sendAll(socket, "HTTP/1.1 " + std::to_string(status) + " Any\r\n" + more +
                            "Content-Length: 0\r\nConnection: close\r\n\r\n");
        ::shutdown(socket, SHUT_RDWR);
    };
}

bool WebhookReceiver::sendAll(int socket, std::string const& text)
{
    for (std::size_t done = 0; done < text.size();) {
        ssize_t const count = ::send(socket, text.data() + done, text.size() - done, MSG_NOSIGNAL);
        if (count <= 0)
            return false;
        done += static_cast<std::size_t>(count);
    }
    return true;
}

std::string WebhookReceiver::url(std::string const& path) const
{
    return "http://127.0.0.1:" + std::to_string(boundPort) + path;
}

std::vector<WebhookReceiver::Received> WebhookReceiver::received() const
{
    std::scoped_lock guard(lock);
    return all;
}

void WebhookReceiver::answerWith(Answer next)
{
    std::scoped_lock guard(lock);
    answer = std::move(next);
}

void WebhookReceiver::acceptAll()
{
    for (;;) {
        int const socket = ::accept4(listening, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket < 0)
            return;
        std::scoped_lock guard(lock);
        sockets.push_back(socket);
        threads.emplace_back([this, socket] { serve(socket); });
    }
}

void WebhookReceiver::serve(int socket)
{
    std::string text;
    std::size_t end = std::string::npos;
    std::size_t length = 0;
    while (end == std::string::npos || text.size() < end + 4 + length) {
        char piece[4096];
        ssize_t const count = ::recv(socket, piece, sizeof piece, 0);
        if (count <= 0)
            return;
        text.append(piece, static_cast<std::size_t>(count));
        end = text.find("\r\n\r\n");
        std::size_t const field = text.find("Content-Length: ");
        if (field != std::string::npos)
            length = std::stoul(text.substr(field + 16));
    }
    Received one{.headers = {}, .body = text.substr(end + 4)};
    std::istringstream head(text.substr(0, end));
    for (std::string line; std::getline(head, line);)
        if (std::size_t const colon = line.find(": "); colon != std::string::npos)
            one.headers[text::lowercased(line.substr(0, colon))] =
                line.substr(colon + 2, line.find('\r') - colon - 2);
    Answer how;
    {
        std::scoped_lock guard(lock);
        all.push_back(std::move(one));
        how = answer;
    }
    how(socket);
}

} // namespace zelvo::service
