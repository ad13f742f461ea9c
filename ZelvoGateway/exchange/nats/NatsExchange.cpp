#include "ZelvoGateway/exchange/nats/NatsExchange.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/base/Secrets.h"
#include "ZelvoGateway/exchange/HeldAnswer.h"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <stdexcept>

namespace zelvo::service {

namespace {

using Kind = ExchangeMessage::Kind;

constexpr std::size_t minSecret = 32;
constexpr std::size_t maxToken = 64;
constexpr std::size_t maxNotice = 256_KiB; // Fits into one message of NATS.

/// What may be a part of a subject.
bool isToken(std::string_view text)
{
    return !text.empty() && text.size() <= maxToken && std::ranges::all_of(text, [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
               c == '_';
    });
}

void assertToken(std::string_view machineId)
{
    if (!isToken(machineId))
        throw std::invalid_argument("a machine's id cannot be used between nodes");
}

NatsExchange::Options checked(NatsExchange::Options options)
{
    if (!isToken(options.name))
        throw std::runtime_error(
            R"(the gateway's name between nodes may have letters, digits, "-" and "_" only)");
    if (options.secret.size() < minSecret)
        throw std::runtime_error("the secret of the nodes is too short: it needs at least 32 characters");
    return options;
}

} // namespace

/// What makes this node known to others as the holder of a machine.
struct NatsExchange::Claim {
    std::uint64_t term = 0;
    std::unique_ptr<NatsConnection::Subscription> questions;
    std::unique_ptr<NatsConnection::Subscription> holders;
};

class NatsExchange::Entry final : public ExchangeEntry {
public:
    Entry(std::shared_ptr<NatsExchange*> exchange, std::string machineId, std::uint64_t term)
        : exchange(std::move(exchange)), machineId(std::move(machineId)), term(term)
    {
    }
    ~Entry() override
    {
        if (*exchange)
            (*exchange)->release(machineId, term);
    }

private:
    std::shared_ptr<NatsExchange*> exchange;
    std::string machineId;
    std::uint64_t term;
};

NatsExchange::NatsExchange(Options wanted, Clock& clock, Executor server)
    : options(checked(std::move(wanted))), clock(clock), server(std::move(server)),
      subjects{.prefix = "zelvo." + options.name},
      connection(
          options.connection,
          this->server,
          [this](NatsConnection::Message message) { received(std::move(message)); },
          [this](bool isConnectedNow) { connectionChanged(isConnectedNow); }),
      post(connection, options.secret, newId("node"), clock),
      questions(post, subjects, clock, options.maxText),
      answers(
          post, subjects, clock, this->server, {.question = options.maxText, .all = options.maxQuestions}),
      own(connection.subscribe(subjects.prefix + ".node." + post.node() + ".>")),
      ofNodes(connection.subscribe(subjects.nodes())), ofNotices(connection.subscribe(subjects.notices()))
{
    reporting = spawn(this->server, [self = self, &clock] { return keepReporting(self, &clock); });
}

NatsExchange::~NatsExchange()
{
    *self = nullptr;
    reporting.cancel();
}

std::unique_ptr<ExchangeEntry>
NatsExchange::hold(std::string machineId, std::uint64_t term, std::shared_ptr<MachineHolder> holder)
{
    assertToken(machineId);
    auto entry = std::make_unique<Entry>(self, machineId, term);
    if (!machines.add(machineId, {.term = term, .holder = std::move(holder)}))
        return entry;
    auto claim = std::make_unique<Claim>(Claim{.term = term, .questions = {}, .holders = {}});
    // A group, so that a question reaches one node even while the older holder does not know of the newer
    // one.
    claim->questions = connection.subscribe(subjects.questionsFor(machineId), "holder");
    claim->holders = connection.subscribe(subjects.holdersOf(machineId));
    claims[machineId] = std::move(claim);
    report(machineId, term);
    return entry;
}

void NatsExchange::report(std::string const& machineId, std::uint64_t term)
{
    post.send(subjects.holdersOf(machineId), {.kind = Kind::held, .number = term, .word = machineId});
}

void NatsExchange::release(std::string const& machineId, std::uint64_t term)
{
    machines.remove(machineId, term);
    auto const claim = claims.find(machineId);
    if (claim != claims.end() && claim->second->term == term)
        claims.erase(claim);
}

void NatsExchange::heardOf(std::string const& machineId, std::uint64_t term)
{
    if (auto const higher = machines.yield(machineId, term))
        report(machineId, *higher);
    else
        claims.erase(machineId);
}

Task<std::string>
NatsExchange::ask(std::string machineId, std::string kind, std::string text, Duration patience)
{
    assertToken(machineId);
    if (auto holder = machines.find(machineId))
        co_return co_await answerOf(std::move(holder), std::move(kind), std::move(text), &clock, patience);
    if (!isConnected())
        throw Failure{.code = ErrorCode::machineUnavailable,
                      .message = "This node of the gateway has lost the others; try again"};
    if (text.size() > options.maxText)
        throw Failure{.code = ErrorCode::invalidRequest,
                      .message = "The request is too large for another node",
                      .kind = Failure::Kind::tooLarge};
    co_return co_await questions.ask(std::move(machineId), std::move(kind), std::move(text), patience);
}

void NatsExchange::publish(std::string topic, std::string text)
{
    if (text.size() > maxNotice)
        throw std::length_error("a notice to other nodes is too long");
    post.send(subjects.notices(), {.kind = Kind::notice, .word = topic, .text = text});
    asio::post(server, [self = self, topic = std::move(topic), text = std::move(text)] {
        if (*self)
            (*self)->observers.hear(topic, text);
    });
}

std::unique_ptr<ExchangeEntry> NatsExchange::observe(std::string topic, Observer observer)
{
    return observers.add(std::move(topic), std::move(observer));
}

void NatsExchange::received(NatsConnection::Message message)
{
    if (message.hasNoReceiver)
        return questions.nobodyHolds(message.subject);
    auto opened = post.open(message);
    if (!opened)
        return;
    if (message.subject == subjects.notices() && opened->kind == Kind::notice)
        return observers.hear(opened->word, opened->text);
    if (message.subject == subjects.nodes() && opened->kind == Kind::present)
        return table.heard(opened->sender, std::move(opened->word), clock.now());
    if (message.subject.starts_with(subjects.prefix + ".node."))
        return receivedByNode(message.subject, *std::move(opened));
    receivedByHolder(message.subject, *std::move(opened));
}

void NatsExchange::receivedByNode(std::string const& subject, ExchangeMessage message)
{
    if (subject == subjects.answering(post.node()))
        answers.received(message);
    else if (subject == subjects.asking(post.node()))
        questions.received(std::move(message));
}

void NatsExchange::receivedByHolder(std::string const& subject, ExchangeMessage message)
{
    std::string const machineId = subject.substr(subject.rfind('.') + 1);
    if (message.kind == Kind::ask && subject == subjects.questionsFor(machineId))
        answers.asked(std::move(message), machines.find(machineId));
    else if (message.kind == Kind::held && subject == subjects.holdersOf(machineId))
        heardOf(machineId, message.number);
}

/// While there was no connection, others may have taken machines, and missed what this node holds.
void NatsExchange::connectionChanged(bool isConnectedNow)
{
    if (!isConnectedNow) {
        questions.connectionLost();
        return answers.connectionLost();
    }
    for (auto const& [machineId, held] : machines.all())
        report(machineId, held.term);
}

void NatsExchange::nodeLost(std::string const& node)
{
    questions.nodeLost(node);
    answers.nodeLost(node);
}

void NatsExchange::reportAndCheck()
{
    post.send(subjects.nodes(), {.kind = Kind::present, .word = options.version});
    for (std::string const& node : table.takeSilent(clock.now()))
        nodeLost(node);
    answers.endStalled();
    post.forgetOld();
}

/// A sleep that has just ended cannot be cancelled any more, so it may find that the exchange is gone.
Task<> NatsExchange::keepReporting(std::shared_ptr<NatsExchange*> self, Clock* clock)
{
    while (*self) {
        (*self)->reportAndCheck();
        co_await clock->sleep(NodeTable::reportPeriod);
    }
}

} // namespace zelvo::service
