#pragma once

#include "wire/records/RecordCodec.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// The records of the wire: cloud machines of the service.
namespace zelvo::records {

enum class CloudHardware {
    macMiniM4,
    macMiniM4Pro,
    macMiniM5Pro,
    macMiniM6,
    macPro,
    macStudioM1Max,
    macStudioM1Ultra,
    macStudioM2Max,
    macStudioM2Ultra,
    macStudioM3Ultra,
    macStudioM4Max,
    macStudioM5Max,
    macStudioM5Ultra
};
enum class Preinstall { claudeCode, node, xcodeCLI };
enum class CloudTerm { day, month, week };
enum class CloudMACQuoteStatus { quoteRequested };
enum class CloudMACStatus { awaitingPayment, ended, provisioning, queued, ready };

} // namespace zelvo::records

namespace zelvo {

template <>
struct EnumTexts<records::CloudHardware> {
    static constexpr std::array<std::string_view, 13> texts = {
        "mac_mini_m4",         "mac_mini_m4_pro",   "mac_mini_m5_pro",
        "mac_mini_m6",         "mac_pro",           "mac_studio_m1_max",
        "mac_studio_m1_ultra", "mac_studio_m2_max", "mac_studio_m2_ultra",
        "mac_studio_m3_ultra", "mac_studio_m4_max", "mac_studio_m5_max",
        "mac_studio_m5_ultra"};
};
template <>
struct EnumTexts<records::Preinstall> {
    static constexpr std::array<std::string_view, 3> texts = {"claude-code", "node", "xcode-cli"};
};
template <>
struct EnumTexts<records::CloudTerm> {
    static constexpr std::array<std::string_view, 3> texts = {"day", "month", "week"};
};
template <>
struct EnumTexts<records::CloudMACQuoteStatus> {
    static constexpr std::array<std::string_view, 1> texts = {"quote_requested"};
};
template <>
struct EnumTexts<records::CloudMACStatus> {
    static constexpr std::array<std::string_view, 5> texts = {"awaiting_payment", "ended", "provisioning",
                                                              "queued", "ready"};
};

} // namespace zelvo

namespace zelvo::records {

struct Spec {
    std::optional<std::string> chip;
    std::int64_t ramGb{};
    std::int64_t ssdGb{};
    bool operator==(Spec const&) const = default;
};
BOOST_DESCRIBE_STRUCT(Spec, (), (chip, ramGb, ssdGb))

struct CreateCloudMACRequest {
    std::optional<std::string> chip;
    std::optional<std::string> contactEmail;
    bool developerUseAcknowledged{};
    CloudHardware hardware{};
    std::optional<std::string> note;
    std::optional<std::vector<Preinstall>> preinstall;
    std::optional<std::int64_t> ramGb;
    std::optional<std::int64_t> ssdGb;
    CloudTerm term{};
    std::optional<std::string> xcodeVersion;
    bool operator==(CreateCloudMACRequest const&) const = default;
};
BOOST_DESCRIBE_STRUCT(CreateCloudMACRequest,
                      (),
                      (chip,
                       contactEmail,
                       developerUseAcknowledged,
                       hardware,
                       note,
                       preinstall,
                       ramGb,
                       ssdGb,
                       term,
                       xcodeVersion))

struct CloudMACQuote {
    std::optional<std::string> contactEmail;
    std::string createdAt;
    std::optional<std::int64_t> estimateCents;
    CloudHardware hardware{};
    std::string id;
    std::string message;
    std::optional<std::string> note;
    std::optional<Spec> spec;
    CloudMACQuoteStatus status{};
    CloudTerm term{};
    bool operator==(CloudMACQuote const&) const = default;
};
BOOST_DESCRIBE_STRUCT(
    CloudMACQuote,
    (),
    (contactEmail, createdAt, estimateCents, hardware, id, message, note, spec, status, term))

struct CloudMAC {
    CloudHardware hardware{};
    std::string id;
    std::optional<std::string> leaseEndsAt;
    std::optional<std::string> leaseStartedAt;
    std::optional<std::string> paidAt;
    std::optional<std::string> readyBy;
    CloudMACStatus status{};
    CloudTerm term{};
    bool operator==(CloudMAC const&) const = default;
};
BOOST_DESCRIBE_STRUCT(CloudMAC,
                      (),
                      (hardware, id, leaseEndsAt, leaseStartedAt, paidAt, readyBy, status, term))

} // namespace zelvo::records
