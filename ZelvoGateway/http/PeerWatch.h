#pragma once

#include "ZelvoGateway/net/PeerStream.h"
#include "base/AsyncCondition.h"
#include "base/Task.h"

#include <boost/beast/core/flat_buffer.hpp>

#include <functional>
#include <memory>

namespace zelvo::service {

/// Notices that the peer of a connection closes it while an answer is made. What the peer sends meanwhile is
/// kept for the next request; once that fills the buffer, the watch ends.
/// Thread: the server's.
class PeerWatch {
public:
    /// owner   keeps the stream and the buffer alive
    /// gone    called once, if the peer goes
    PeerWatch(PeerStream& stream,
              boost::beast::flat_buffer& buffer,
              std::shared_ptr<void> owner,
              std::function<void()> gone);
    PeerWatch(PeerWatch const&) = delete;
    PeerWatch& operator=(PeerWatch const&) = delete;
    ~PeerWatch();

    /// Ends the watch. Afterwards the stream may be read again.
    Task<> end();

private:
    struct State;
    static Task<> watch(std::shared_ptr<State> state);

    std::shared_ptr<State> state;
};

} // namespace zelvo::service
