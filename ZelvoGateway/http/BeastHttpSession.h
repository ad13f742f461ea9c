#pragma once

#include "ZelvoGateway/http/BodySink.h"
#include "ZelvoGateway/http/HttpError.h"
#include "ZelvoGateway/http/HttpSession.h"
#include "ZelvoGateway/http/RequestCaller.h"
#include "ZelvoGateway/http/RequestReader.h"
#include "ZelvoGateway/http/ResponseWriter.h"
#include "ZelvoGateway/http/Upgrade.h"

#include <boost/beast/core/flat_buffer.hpp>

#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace zelvo::service {

/// A session on Boost.Beast. BeastHttpSession.cpp takes requests through it, RequestAdmission.cpp decides by
/// the head of each whether it is served.
class BeastHttpSession final : public HttpSession {
public:
    BeastHttpSession(PeerStream connection, SessionParts& parts, RequestLimits::Lease ofAddress)
        : ofAddress(std::move(ofAddress)), parts(parts), stream(std::move(connection)),
          reader(stream, buffer, parts.limits), localAddress(localAddressOf(stream.socket())),
          peer(peerAddressOf(stream.socket())), isProxy(parts.proxies.contains(peer)),
          memory(memoryOf(peer.to_string()))
    {
    }

    Task<> serve() override;
    void drop() override
    {
        waiting.reset();
        stream.close();
    }
    std::optional<std::chrono::steady_clock::time_point> waitsSince() const override { return waiting; }
    bool isServing() const override { return work || isEnding; }

private:
    using Time = std::chrono::steady_clock;
    using HeadParser = RequestReader::HeadParser;
    using BodyParser = RequestReader::BodyParser;

    /// A request on its way through the session.
    struct Entry {
        HttpRequest request;
        Admission admission;
        MemoryBudget::Lease memory;
        std::shared_ptr<BodySink> sink; ///< takes the body in pieces; null if it is read whole
        Upgrade upgrade;                ///< takes the connection over; empty for other requests
    };

    Task<bool> begin();
    Task<bool> serveOne(bool first);
    Task<bool> serveBadHead(boost::system::error_code error);
    MemoryBudget memoryOf(std::string const& address) const
    {
        return parts.memory.partOf("address " + address);
    }
    /// "/films/rec_1".
    static std::string pathOf(HttpRequest const& request);
    void takeRequestId(HttpRequest& request);
    void identify(HttpRequest& request);
    void admit(HeadParser const& head, Entry& entry);
    void admitBody(HeadParser const& head, Entry& entry);
    void assertServed() const;
    void beginWork();
    void keepPlace(std::string const& owner);
    Task<bool> serveRequest(HeadParser headParser, Entry entry);
    Task<bool> receive(HeadParser headParser, std::shared_ptr<BodySink> sink);
    Task<> sendContinue(HeadParser headParser, HttpRequest const* request);
    Task<HttpResponse> answer(Entry entry);
    Task<bool> refuse(HttpError error);
    HttpResponse failed(HttpError error) const;
    void noteAnswer(int status) const;
    void addOwnHeaders(HttpResponse& response) const;
    void handOver(HeadParser const& parser, Upgrade upgrade);
    Task<bool> write(HttpResponse response, bool keepAlive);
    Task<bool> writeStream(HttpResponse response, bool keepAlive, BodyEnd end);

    RequestLimits::Lease ofAddress; // Behind a proxy: of the present request.
    RequestLimits::Lease ofKey;     // Of the present request.
    SessionParts& parts;
    PeerStream stream;
    boost::beast::flat_buffer buffer{128_KiB};
    RequestReader reader;
    std::string const localAddress;
    asio::ip::address const peer;
    bool const isProxy;  // The peer is a trusted proxy.
    MemoryBudget memory; // The caller's part of the budget.
    std::optional<Time::time_point> waiting = Time::now();
    Time::time_point began = Time::now(); // Of the present request.
    PlaceShares::Lease place;             // For the present request.
    OpenWork::Lease work;                 // The present request, once a stop waits for its answer.
    bool isEnding = false;                // The last answer is on its way.
    bool wantsTlsOnly = false;            // A browser should ask the present request's host with TLS only.
    bool headOnly = false;                // The present request is a HEAD.
    std::string requestId;                // Of the present request.
    Route const* route = nullptr;         // Null if it has none.
};

} // namespace zelvo::service
