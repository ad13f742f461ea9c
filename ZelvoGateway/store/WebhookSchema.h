#pragma once

namespace zelvo::service {

/// The tables of webhooks, and triggers that add an event to them in the same transaction as the change that
/// it is about, whichever process makes it. Nothing is written while no webhook is active.
extern char const* const webhookSchema;

} // namespace zelvo::service
