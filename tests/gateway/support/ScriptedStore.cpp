#include "gateway/support/ScriptedStore.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <fstream>
#include <sstream>

namespace zelvo::service {

ScriptedStore::ScriptedStore(Script script) : script(std::move(script))
{
    std::ofstream(folder.path / "credentials") << "access-key = AKIA\nsecret-key = hidden-secret\n";
    ::chmod((folder.path / "credentials").c_str(), 0600);
    listening = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    ::bind(listening, reinterpret_cast<sockaddr*>(&address), size);
    ::listen(listening, 16);
    ::getsockname(listening, reinterpret_cast<sockaddr*>(&address), &size);
    port = ntohs(address.sin_port);
    accepting = std::thread([this] { acceptAll(); });
}

ScriptedStore::~ScriptedStore()
{
    ::shutdown(listening, SHUT_RDWR);
    accepting.join();
    ::close(listening);
    for (int const socket : sockets)
        ::shutdown(socket, SHUT_RDWR);
    for (std::thread& thread : threads)
        thread.join();
    for (int const socket : sockets)
        ::close(socket);
}

void ScriptedStore::acceptAll()
{
    for (int socket = ::accept(listening, nullptr, nullptr); socket >= 0;
         socket = ::accept(listening, nullptr, nullptr)) {
        std::scoped_lock const guard(lock);
        sockets.push_back(socket);
        threads.emplace_back([this, socket] { serve(socket); });
    }
}

bool ScriptedStore::readRequest(int socket, std::string& rest, Request& request) const
{
    std::array<char, 65536> piece{};
    auto const more = [&] {
        ssize_t const count = ::recv(socket, piece.data(), piece.size(), 0);
        if (count > 0)
            rest.append(piece.data(), static_cast<std::size_t>(count));
        return count > 0;
    };
    while (rest.find("\r\n\r\n") == std::string::npos)
        if (!more())
            return false;
    std::size_t const head = rest.find("\r\n\r\n");
    std::istringstream lines(rest.substr(0, head));
    std::string line;
    std::getline(lines, line);
    std::istringstream(line) >> request.method >> request.target;
    while (std::getline(lines, line)) {
        std::size_t const colon = line.find(':');
        std::string name = line.substr(0, colon);
        std::ranges::transform(name, name.begin(), [](unsigned char sign) { return std::tolower(sign); });
        request.headers[name] = line.substr(colon + 2, line.find('\r') - colon - 2);
    }
    rest.erase(0, head + 4);
    if (request.headers.contains("expect")) {
        std::string const go = "HTTP/1.1 100 Continue\r\n\r\n";
        ::send(socket, go.data(), go.size(), MSG_NOSIGNAL);
    }
    std::size_t const size =
        request.headers.contains("content-length") ? std::stoul(request.headers.at("content-length")) : 0;
    while (rest.size() < size)
        if (!more())
            return false;
    request.body = rest.substr(0, size);
    rest.erase(0, size);
    return true;
}

void ScriptedStore::serve(int socket)
{
    std::string rest;
    for (Request request; readRequest(socket, rest, request); request = {}) {
        {
            std::scoped_lock const guard(lock);
            all.push_back(request);
        }
        std::string const bytes = script(request);
        if (bytes == silence)
            continue; // The next read waits for the end.
        for (std::size_t sent = 0; sent < bytes.size();) {
            ssize_t const count = ::send(socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
            if (count <= 0)
                return;
            sent += static_cast<std::size_t>(count);
        }
        if (bytes.find("Connection: close") != std::string::npos ||
            bytes.find("Content-Length") == std::string::npos) {
            ::shutdown(socket, SHUT_RDWR);
            return;
        }
    }
}

std::string ScriptedStore::answer(int status, std::string const& body, std::string const& headers)
{
    return "HTTP/1.1 " + std::to_string(status) + " X\r\nContent-Length: " + std::to_string(body.size()) +
           "\r\n" + headers + "\r\n" + body;
}

std::string ScriptedStore::error(int status, std::string const& code, std::string const& more)
{
    return answer(status, "<?xml version=\"1.0\"?><Error><Code>" + code + "</Code>" + more + "</Error>");
}

S3Settings ScriptedStore::place() const
{
    return {.endpoint = "http://127.0.0.1:" + std::to_string(port),
            .bucket = "films",
            .prefix = "p/",
            .credentials = folder.path / "credentials",
            .pathStyle = true};
}

std::vector<ScriptedStore::Request> ScriptedStore::requests() const
{
    std::scoped_lock const guard(lock);
    return all;
}

std::size_t ScriptedStore::count(std::string const& method) const
{
    std::scoped_lock const guard(lock);
    return static_cast<std::size_t>(std::ranges::count(all, method, &Request::method));
}

} // namespace zelvo::service
