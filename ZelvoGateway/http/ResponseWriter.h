#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/http/HttpMessage.h"
#include "base/Task.h"

#include <boost/beast/core/tcp_stream.hpp>

namespace zelvo::service {

/// Sends a response: from memory, or a part of a file piece by piece. Files are read on the workers.
/// Thread: the server's.
class ResponseWriter {
public:
    static constexpr std::size_t filePiece = 256_KiB;

    ResponseWriter(boost::beast::tcp_stream& stream, Executor workers)
        : stream(stream), workers(std::move(workers))
    {
    }

    /// whole  false sends the head only
    /// Gives  false when the connection is of no more use
    Task<bool> write(HttpResponse response, bool keepAlive, bool whole);

private:
    Task<bool> writeText(HttpResponse response, bool keepAlive, bool whole);
    Task<bool> writeFile(HttpResponse response, bool keepAlive, bool whole);
    Task<bool> send(FilePart part);

    boost::beast::tcp_stream& stream;
    Executor workers;
};

} // namespace zelvo::service
