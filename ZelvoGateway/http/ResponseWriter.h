#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/http/HttpMessage.h"
#include "base/Task.h"

#include <boost/beast/core/tcp_stream.hpp>

namespace zelvo::service {

/// Sends a response, from memory or from a source in pieces. Sources are read on the workers.
/// Thread: the server's.
class ResponseWriter {
public:
    static constexpr std::size_t sourcePiece = 256_KiB;

    ResponseWriter(boost::beast::tcp_stream& stream, Executor workers)
        : stream(stream), workers(std::move(workers))
    {
    }

    /// whole  false sends the head only
    /// Gives  false if the connection can't be used for another request
    Task<bool> write(HttpResponse response, bool keepAlive, bool whole);

private:
    Task<bool> writeText(HttpResponse response, bool keepAlive, bool whole);
    Task<bool> writeSource(HttpResponse response, bool keepAlive, bool whole);
    Task<bool> send(ByteSourcePart part);

    boost::beast::tcp_stream& stream;
    Executor workers;
};

} // namespace zelvo::service
