#pragma once

#include "wire/Json.h"

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace zelvo::service {

using Headers = std::vector<std::pair<std::string, std::string>>;

/// What a gateway answered; status 0 if it closed the connection without an answer.
struct Answer {
    int status = 0;
    std::map<std::string, std::string> headers; ///< names in lower case
    std::string body;

    json::value json() const;
    /// "code" of an error body; empty if it is not one.
    std::string errorCode() const;
};

/// Sends one request on a new connection. Without a "Host" header it adds the right one.
Answer request(std::uint16_t port,
               std::string const& method,
               std::string const& target,
               std::string const& body = {},
               Headers headers = {});

/// A connection for bytes that no HTTP library sends.
class RawConnection {
public:
    explicit RawConnection(std::uint16_t port);
    RawConnection(RawConnection const&) = delete;
    RawConnection& operator=(RawConnection const&) = delete;
    ~RawConnection();
    /// False when the peer has closed.
    bool send(std::string const& bytes) const;
    /// The first bytes that arrive.
    std::string readSome() const;
    /// Everything until the peer closes, or until `patience` seconds pass without a byte.
    std::string readToEnd(int patience = 10);
    /// True when the peer closes within `seconds`.
    bool closes(int seconds);

private:
    int socket;
};

} // namespace zelvo::service
