#include "gateway/support/TlsConnection.h"

#include "base/Text.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/host_name_verification.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>
#include <openssl/pem.h>
#include <openssl/ssl.h>

#include <array>
#include <stdexcept>

namespace zelvo::service {

namespace {

namespace asio = boost::asio;
namespace ssl = boost::asio::ssl;
namespace http = boost::beast::http;

} // namespace

struct TlsConnection::State {
    asio::io_context io;
    ssl::context context{ssl::context::tls_client};
    std::unique_ptr<ssl::stream<asio::ip::tcp::socket>> stream;
    boost::beast::flat_buffer buffer;
    std::uint16_t port = 0;
};

TlsConnection::TlsConnection(std::uint16_t port, TlsOptions const& options) : state(std::make_unique<State>())
{
    state->port = port;
    state->context.load_verify_file(options.authorityFile);
    state->context.set_verify_mode(ssl::verify_peer);
    if (options.maxVersion != 0) {
        SSL_CTX_set_security_level(state->context.native_handle(), 0); // Old versions need it.
        SSL_CTX_set_max_proto_version(state->context.native_handle(), options.maxVersion);
    }
    state->stream = std::make_unique<ssl::stream<asio::ip::tcp::socket>>(state->io, state->context);
    state->stream->set_verify_callback(ssl::host_name_verification(options.name));
    if (!options.protocols.empty())
        SSL_set_alpn_protos(state->stream->native_handle(),
                            reinterpret_cast<unsigned char const*>(options.protocols.data()),
                            static_cast<unsigned>(options.protocols.size()));
    boost::system::error_code error;
    state->stream->next_layer().connect({asio::ip::address_v4::loopback(), port});
    state->stream->handshake(ssl::stream_base::client, error);
    if (error)
        throw std::runtime_error(error.message());
}

TlsConnection::~TlsConnection() = default;

Answer TlsConnection::request(std::string const& method,
                              std::string const& target,
                              Headers headers,
                              std::string const& body)
{
    http::request<http::string_body> message;
    message.version(11);
    message.method_string(method);
    message.target(target);
    message.set(http::field::host, "127.0.0.1:" + std::to_string(state->port));
    for (auto const& [name, value] : headers)
        message.set(name, value);
    message.body() = body;
    message.prepare_payload();
    boost::system::error_code error;
    http::write(*state->stream, message, error);
    http::response_parser<http::string_body> parser;
    parser.body_limit(boost::none);
    http::read(*state->stream, state->buffer, parser, error);
    Answer answer;
    if (!parser.is_header_done())
        return answer;
    answer.status = static_cast<int>(parser.get().result_int());
    answer.body = parser.get().body();
    for (auto const& field : parser.get())
        answer.headers[text::lowercased(std::string(field.name_string()))] = std::string(field.value());
    return answer;
}

std::string TlsConnection::certificate() const
{
    BIO* const bio = BIO_new(BIO_s_mem());
    PEM_write_bio_X509(bio, SSL_get0_peer_certificate(state->stream->native_handle()));
    char* data = nullptr;
    long const size = BIO_get_mem_data(bio, &data);
    std::string text(data, static_cast<std::size_t>(size));
    BIO_free(bio);
    return text;
}

std::string TlsConnection::protocol() const
{
    unsigned char const* name = nullptr;
    unsigned size = 0;
    SSL_get0_alpn_selected(state->stream->native_handle(), &name, &size);
    return {reinterpret_cast<char const*>(name), size};
}

bool TlsConnection::endsWell()
{
    std::array<char, 256> room;
    boost::system::error_code error;
    state->stream->read_some(asio::buffer(room), error);
    return error == asio::error::eof; // Without a word it would be "stream truncated".
}

} // namespace zelvo::service
