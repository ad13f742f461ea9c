#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace zelvo::service {

/// What a person says about the gateway to join, on the command line.
struct GatewayChoice {
    std::string dataFolder;
    std::string url;        ///< empty for the gateway that runs on the data folder
    std::string keyFile;    ///< empty for the environment, else the data folder
    std::string connection; ///< empty for all that the key reaches
    std::string switches;   ///< "width=1280&tools=computer"; may be empty
};

/// Where a gateway serves "/mcp", and the key to it.
struct GatewayPlace {
    bool isSecure = false;   ///< with TLS
    std::string certificate; ///< PEM, the only one to accept; empty for all that this computer trusts
    std::string host;
    std::string port;
    std::string target; ///< "/mcp/con_1?width=1280"
    std::string key;

    std::string address() const;
};

/// Finds the gateway and its key: that of the key file, else that of the environment variable ZELVO_API_KEY,
/// else that of the data folder, unless another gateway was named. Throws std::runtime_error with a text for
/// the person who started the program.
GatewayPlace placeOf(GatewayChoice const& choice);

/// Reads a key from the text of a key file, which may also hold the whole header "Authorization: Bearer KEY".
/// `nullopt` if it can be none.
std::optional<std::string> keyIn(std::string const& text);

} // namespace zelvo::service
