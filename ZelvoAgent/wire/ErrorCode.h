#pragma once

#include "wire/EnumText.h"

namespace zelvo {

/// Every error code of the gateway's schema. The agent itself produces only those of AgentError; the others
/// reach it, if at all, in the body of a failed HTTP call. agentPaused and machinePaused are two codes.
enum class ErrorCode {
    agentPaused,
    appNotFrontmost,
    appUpdateRequired,
    confirmationTimeout,
    deniedByUser,
    zelvoUIProtected,
    forbidden,
    hiddenAppActive,
    internalError,
    invalidRequest,
    leaseNotActive,
    linkSessionExpired,
    machineAlreadyLinkedToOtherUser,
    machineBusy,
    machineOffline,
    machinePaused,
    machineUnavailable,
    notFound,
    permissionMissing,
    rateLimited,
    recordingNotShared,
    recordingsUnavailable,
    scopeDenied,
    snapshotExpired,
    staleView,
    timeout,
    unauthorized,
};

template <>
struct EnumTexts<ErrorCode> {
    static constexpr std::array<std::string_view, 27> texts = {
        "agent_paused",
        "app_not_frontmost",
        "app_update_required",
        "confirmation_timeout",
        "denied_by_user",
        "zelvo_ui_protected",
        "forbidden",
        "hidden_app_active",
        "internal_error",
        "invalid_request",
        "lease_not_active",
        "link_session_expired",
        "machine_already_linked_to_other_user",
        "machine_busy",
        "machine_offline",
        "machine_paused",
        "machine_unavailable",
        "not_found",
        "permission_missing",
        "rate_limited",
        "recording_not_shared",
        "recordings_unavailable",
        "scope_denied",
        "snapshot_expired",
        "stale_view",
        "timeout",
        "unauthorized",
    };
};

} // namespace zelvo
