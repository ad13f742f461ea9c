#include "ZelvoGateway/exchange/nats/NodePost.h"

namespace zelvo::service {

namespace {

std::int64_t milliseconds(Date date)
{
    return std::chrono::floor<std::chrono::milliseconds>(date.time_since_epoch()).count();
}

} // namespace

NodePost::NodePost(NatsConnection& connection, std::string_view secret, std::string node, Clock& clock)
    : connection(connection), seal(secret, "messages between nodes"), name(std::move(node)), clock(clock)
{
}

void NodePost::send(std::string const& subject, ExchangeMessage message, std::string replyTo)
{
    message.sender = name;
    message.sentAt = milliseconds(clock.date());
    connection.publish(subject, seal.close(bytesOf(message), subject), std::move(replyTo));
}

std::optional<ExchangeMessage> NodePost::open(NatsConnection::Message const& sealed)
{
    auto const bytes = seal.open(sealed.bytes, sealed.subject);
    auto message = bytes ? messageIn(*bytes) : std::nullopt;
    if (message && message->sender != name && isNew(*message))
        return message;
    ++refusedCount;
    return std::nullopt;
}

bool NodePost::isNew(ExchangeMessage const& message)
{
    auto const age = std::chrono::milliseconds(milliseconds(clock.date()) - message.sentAt);
    if (age > maxAge || age < -maxAge)
        return false;
    return message.kind != ExchangeMessage::Kind::ask ||
           questions.emplace(std::pair(message.sender, message.exchangeId), clock.now()).second;
}

/// A message is refused for its age before it could be taken for new here.
void NodePost::forgetOld()
{
    std::erase_if(questions,
                  [&](auto const& question) { return clock.now() - question.second > 3 * maxAge; });
}

} // namespace zelvo::service
