#pragma once

#include "ZelvoGateway/base/AddressRange.h"
#include "base/Clock.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace zelvo::service {

constexpr std::size_t operator""_KiB(unsigned long long count)
{
    return count << 10;
}
constexpr std::size_t operator""_MiB(unsigned long long count)
{
    return count << 20;
}

/// Bounds that hold whatever platforms and machines send. Sizes are bytes.
struct Limits {
    std::size_t requestHeader = 16_KiB;
    std::size_t linkBody = 64_KiB; ///< of callers that need no key
    std::size_t smallBody = 1_MiB;
    std::size_t commandBody = 160_MiB;
    std::size_t machineMessage = 192_MiB;
    std::size_t unaskedMessage = 1_MiB;   ///< of a machine that owes no reply
    std::size_t memory = 1024_MiB;        ///< all bodies and messages together, with what is made of them
    std::size_t memoryOfCaller = 512_MiB; ///< of one machine, or of one address that calls
    std::size_t callsOfMachine =
        48; ///< below the 64 of an agent's inbox, so that the agent always goes on reading
    std::size_t callBytesOfMachine = 256_MiB; ///< below its 320 MiB, for the same reason
    std::size_t queuedCommand = 4_MiB;        ///< one command in a queue
    std::size_t queuedCommands = 100;         ///< in the queue of one connection
    std::size_t queuedBytes = 16_MiB;         ///< in the queue of one connection
    std::size_t queuedCommandsOfMachine = 400;
    std::size_t queuedBytesOfMachine = 64_MiB;
    std::size_t queuedResult = 8_MiB; ///< a queued command with a larger result fails
    std::size_t endedCommands = 200;  ///< kept of one connection, the newest
    std::size_t endedBytes = 64_MiB;  ///< of their results
    std::size_t connections = 512;    ///< HTTP connections at one time
    std::size_t machines = 2048;      ///< connected at one time

    Duration header = 15s;   ///< for the whole head of a request
    Duration idle = 75s;     ///< between two requests of a connection
    Duration bodyIdle = 30s; ///< without a byte
    Duration smallBodyTime = 15s;
    Duration bodyTime = 600s;
    Duration handshake = 15s;
    Duration machineStall = 60s; ///< in which a machine must read something of what is sent to it

    bool operator==(Limits const&) const = default;
};

/// How long the agents of one machine wait for each other.
struct ControlTimes {
    Duration idle = 30s;      ///< a holder that sends no input for this long loses control
    Duration turn = 10s;      ///< how long one may hold control before its first command
    Duration place = 30s;     ///< how long one that gave up waiting keeps its place in line
    Duration patience = 60s;  ///< how long a command waits for control before machine_busy
    std::size_t maxLine = 32; ///< agents in line for one machine

    bool operator==(ControlTimes const&) const = default;
};

/// Recordings that machines upload.
struct RecordingRules {
    bool taken = true;                       ///< false takes no new ones and keeps the old
    std::uint64_t maxBytes = 2048_MiB;       ///< of one recording
    std::uint64_t maxTotalBytes = 20480_MiB; ///< of all recordings
    std::uint64_t minFreeBytes = 512_MiB;    ///< that stay free on the disk
    std::size_t maxOpenUploads = 8;          ///< of one connection
    Duration kept = 30 * 24h;                ///< from the announcement on
    Duration uploadAddress = 15min;          ///< within which the upload must begin
    Duration completion = 24h;               ///< from the end of the upload to its completion
    Duration recordingAddress = 1h;          ///< how long an address to watch it is valid
    Duration deletedKept = 7 * 24h;          ///< how long a deleted one is still listed as deleted

    bool operator==(RecordingRules const&) const = default;
};

/// A bucket of an S3-compatible store.
struct S3Settings {
    std::string endpoint; ///< "https://s3.example.org", without a path
    std::string region = "us-east-1";
    std::string bucket;
    std::string prefix = "recordings/"; ///< of all keys; ends with "/"
    std::string credentials;            ///< the file with the access key and its secret
    std::string bucketOwner;            ///< the account that the bucket must belong to; empty for any
    bool pathStyle = false;             ///< addresses name the bucket in their path, not in their host

    bool operator==(S3Settings const&) const = default;
};

/// Where the files of recordings are.
struct RecordingPlace {
    enum class Kind { folder, s3 };
    Kind kind = Kind::folder;
    std::string folder; ///< which other gateways may share; empty for the one in the data folder
    S3Settings s3;

    bool operator==(RecordingPlace const&) const = default;
};

/// Webhooks that platforms register.
struct WebhookRules {
    bool toOwnNetwork = false; ///< also to addresses inside the gateway's network, and without TLS
    std::size_t maxWebhooks = 20;
    std::size_t maxWaiting = 10'000; ///< deliveries of one webhook; beyond that the oldest fail
    std::size_t maxEnded = 1000;     ///< deliveries of one webhook in its log
    std::size_t maxParallel = 2;     ///< deliveries of one webhook that are sent at one time
    std::size_t maxAnswer = 64_KiB;
    Duration timeout = 10s; ///< of one attempt
    Duration firstRetry = 10s;
    Duration maxRetry = 4h;
    Duration givesUp = 24h;           ///< from the first attempt on
    Duration disabledAfter = 3 * 24h; ///< without a success
    Duration logKept = 7 * 24h;
    Duration oldSecretValid = 24h; ///< after it was replaced
    Duration absence = 2min;       ///< after a start, until a machine that has not come back is offline

    bool operator==(WebhookRules const&) const = default;
};

/// How long a browser stays logged in to the console.
struct ConsoleTimes {
    Duration idle = 30min; ///< without a request; an open page sends one every few seconds
    Duration longest = 12h;
    std::size_t maxSessions = 64;      ///< at one time
    Duration recordingAddress = 10min; ///< how long an address to watch a recording is valid for the console

    bool operator==(ConsoleTimes const&) const = default;
};

/// Clients of the Model Context Protocol.
struct McpRules {
    Duration patience = 1s;         ///< within which a call is answered by plain JSON; later it is streamed
    Duration keepAlive = 15s;       ///< between two signs of life on a stream that has nothing else to send
    Duration sessionIdle = 12h;     ///< without a request or a stream
    Duration conversationIdle = 2h; ///< of a client without sessions
    std::size_t maxSessions = 64;   ///< of one key, the newest
    std::size_t maxConversations = 64; ///< of one key, the newest
    std::size_t maxSockets = 64;       ///< of one key
    std::size_t maxRequests = 256;     ///< of one key at one time

    bool operator==(McpRules const&) const = default;
};

/// Answers to requests with an idempotency key.
struct AnswerRules {
    Duration kept = 24h;
    std::size_t maxAnswers = 2'000; ///< of one caller, the newest
    std::size_t maxBytes = 64_KiB;  ///< of one answer; a larger one is not kept

    bool operator==(AnswerRules const&) const = default;
};

/// How much of the audit log is kept.
struct AuditRules {
    Duration kept = 90 * 24h;
    std::size_t maxEvents = 100'000; ///< the newest

    bool operator==(AuditRules const&) const = default;
};

/// How many wrong API keys, or tokens, one address may try.
struct AttemptRules {
    std::size_t maxAttempts = 30; ///< in a window
    Duration window = 60s;
    std::size_t maxAddresses = 4096; ///< that are counted at one time

    bool operator==(AttemptRules const&) const = default;
};

/// Where the gateway's metrics can be read: a separate port, never the public one.
struct MetricsPlace {
    bool isOn = false;
    std::string listen = "127.0.0.1"; ///< an address, not a name
    std::uint16_t port = 8738;        ///< 0 takes a free one

    bool operator==(MetricsPlace const&) const = default;
};

/// What the gateway writes to standard error.
struct LogRules {
    enum class Format { text, json };
    enum class Level { debug, info, warning, error };
    Format format = Format::text;
    Level level = Level::info; ///< lines below it are left out

    bool operator==(LogRules const&) const = default;
};

/// How often somebody may do what. Rates are averages: as many may come at once. 0 is no
/// limit.
struct RateRules {
    std::size_t keyRequests = 1000;           ///< of one API key, a second
    std::size_t keyRequestsAtOnce = 0;        ///< of one API key
    std::size_t addressConnections = 60'000;  ///< new ones of one address, a minute
    std::size_t addressConnectionsAtOnce = 0; ///< of one address
    std::size_t machineConnections = 30;      ///< of one machine, a minute
    std::size_t machineMessages = 100;        ///< that one machine sends unasked, a second
    std::size_t machineBytes = 2_MiB;         ///< in such messages, a second
    std::size_t maxNames = 65'536;            ///< keys, addresses or machines that are counted at one time

    bool operator==(RateRules const&) const = default;
};

/// The files of the gateway's certificate, in PEM format.
struct TlsFiles {
    std::string certificate; ///< the gateway's own, then the chain; empty for plain HTTP
    std::string key;         ///< without a passphrase

    bool isOn() const { return !certificate.empty(); }
    bool operator==(TlsFiles const&) const = default;
};

/// What the person who starts the gateway chooses.
struct Settings {
    std::string dataFolder;
    std::string listen = "127.0.0.1"; ///< an address, not a name
    std::uint16_t port = 8737;        ///< 0 takes a free one
    std::string publicUrl; ///< where browsers and machines reach it, if that is not where it listens
    TlsFiles tls;
    std::vector<AddressRange> trustedProxies; ///< whose word about callers counts
    Duration stopTimeout = 25s; ///< how long a stop waits for the requests and commands that are open
    std::string platformName = "Zelvo Local";
    bool personal = false;
    std::string minimumAppVersion; ///< empty admits every version
    Duration commandTimeout = 180s;
    Duration pingPeriod = 20s;
    Duration linkLifetime = 15min;
    Duration consoleLinkLifetime = 10min;
    ConsoleTimes console;
    AttemptRules wrongKeys;
    AttemptRules wrongTokens{.maxAttempts = 600}; ///< of machines; many share an address
    RateRules rates;
    MetricsPlace metrics;
    LogRules log;
    AuditRules audit;
    AnswerRules answers;
    ControlTimes control;
    Duration queuedResultKept = 24h; ///< how long the result of a queued command is kept
    RecordingRules recordings;
    RecordingPlace recordingPlace;
    McpRules mcp;
    WebhookRules webhooks;
    std::string installUrl; ///< where people get the agent; empty if nowhere in particular
    Limits limits;

    bool operator==(Settings const&) const = default;
    /// Takes those of other settings that a running gateway takes: see Flag::Kind::reloadable.
    void takeReloadable(Settings const& next);
};

} // namespace zelvo::service
