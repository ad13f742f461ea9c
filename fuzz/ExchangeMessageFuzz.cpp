#include "Check.h"
#include "ZelvoGateway/exchange/FailureText.h"
#include "ZelvoGateway/exchange/nats/ExchangeMessage.h"
#include "ZelvoGateway/exchange/nats/TextInPieces.h"

#include <cstdint>
#include <string_view>

/// What another node sends, after it was opened.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using namespace zelvo::service;
    std::string_view const bytes(reinterpret_cast<char const*>(data), size);
    zelvo::service::Failure const failure = failureOf(bytes);
    check(failureOf(failureText(failure)).code == failure.code);
    auto const message = messageIn(bytes);
    if (!message)
        return 0;
    check(bytesOf(*message) == bytes);
    IncomingText text(message->size);
    if (text.add(message->number, message->text))
        check(message->number == 0 && message->text.size() <= message->size);
    if (auto const limit = text.newLimit())
        check(*limit <= message->size);
    OutgoingText out(message->text);
    out.first();
    out.allow(message->number);
    while (auto const piece = out.next())
        check(piece->at + piece->text.size() <= message->text.size() && !piece->text.empty());
    return 0;
}
