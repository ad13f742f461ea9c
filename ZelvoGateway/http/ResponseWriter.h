#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/http/HttpMessage.h"
#include "ZelvoGateway/net/PeerStream.h"
#include "base/Task.h"

namespace zelvo::service {

/// How a body marks its end.
enum class BodyEnd {
    chunks,     ///< a body of unknown length is sent in chunks
    connection, ///< the client knows no chunks, so such a body ends with the connection
};

/// Sends a response, from memory, or in pieces from a source or a stream. Sources are read on the workers.
/// Thread: the server's.
class ResponseWriter {
public:
    static constexpr std::size_t sourcePiece = 256_KiB;

    ResponseWriter(PeerStream& stream, Executor workers) : stream(stream), workers(std::move(workers)) {}

    /// whole  false sends the head only
    /// Gives  false if the connection can't be used for another request
    Task<bool> write(HttpResponse response, bool keepAlive, bool whole);
    /// Sends a response with a stream.
    Task<bool> writeStream(HttpResponse response, bool keepAlive, BodyEnd end);

private:
    Task<bool> writeText(HttpResponse response, bool keepAlive, bool whole);
    Task<bool> writeSource(HttpResponse response, bool keepAlive, bool whole);
    Task<bool> send(ByteSourcePart part);
    Task<bool> send(std::shared_ptr<BodyStream> body, BodyEnd end);

    PeerStream& stream;
    Executor workers;
};

} // namespace zelvo::service
