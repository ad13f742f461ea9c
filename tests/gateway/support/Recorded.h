#pragma once

#include "gateway/support/Gateway.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zelvo::service {

/// A gateway with a linked machine whose person shares recordings with its connection.
class Recorded {
public:
    /// What a machine got for a recording that it announced.
    struct Announced {
        std::string id;
        std::string path; ///< of the upload address
    };

    explicit Recorded(std::function<void(Settings&)> const& change = [](Settings&) {});

    Gateway gateway;
    LinkedMachine linked;

    /// Links a machine with these scopes.
    LinkedMachine linkWith(std::string const& scopes) const;
    /// As the machine: a POST to "/machines/recordings" + path.
    Answer post(std::string const& path, json::value const& body) const;
    Answer post(std::string const& path, json::value const& body, Headers headers) const;
    Answer share(bool shared) const;
    json::object announcement(std::int64_t bytes) const;
    Announced announce(std::int64_t bytes) const;
    Answer put(std::string const& path, std::string const& body, std::string const& type = "video/mp4") const;
    Answer complete(std::string const& id) const;
    /// The head of a PUT whose body the test sends itself.
    static std::string headOf(std::string const& path, std::size_t bytes);

    /// Makes a recording that is ready; returns its id.
    std::string recording(std::string const& content = "a film") const;
    json::value recordOf(std::string const& id) const;
    std::string stateOf(std::string const& id) const;
    /// Path and query of its address.
    std::string addressOf(std::string const& id) const;
    /// The names of the files in the folder of recordings.
    std::vector<std::string> files() const;
    std::filesystem::path folder() const { return gateway.data() / "recordings"; }
};

} // namespace zelvo::service
