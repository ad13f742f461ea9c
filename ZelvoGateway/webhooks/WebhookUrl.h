#pragma once

#include "ZelvoGateway/base/Settings.h"

#include <boost/asio/ip/address.hpp>

#include <string>

namespace zelvo::service {

/// Whether webhooks may connect to this address: one of the public internet that is in no network of this
/// machine, or any if the rules say so.
bool isWebhookAddress(boost::asio::ip::address const& address, WebhookRules const& rules);

/// The host of a webhook's address.
std::string hostOfWebhook(std::string const& url);

/// Refuses what no webhook may be sent to. Names are not looked up here: each may lead elsewhere by the time
/// it is connected to, when the address is checked. Throws Failure.
void assertWebhookUrl(std::string const& url, WebhookRules const& rules);

} // namespace zelvo::service
