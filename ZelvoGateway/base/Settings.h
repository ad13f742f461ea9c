#pragma once

#include "base/Clock.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace zelvo::service {

constexpr std::size_t operator""_KiB(unsigned long long count)
{
    return count << 10;
}
constexpr std::size_t operator""_MiB(unsigned long long count)
{
    return count << 20;
}

/// What nobody can make the gateway exceed.
struct Limits {
    std::size_t requestHeader = 16_KiB;
    std::size_t linkBody = 64_KiB; ///< of those who have shown no key
    std::size_t smallBody = 1_MiB;
    std::size_t commandBody = 160_MiB;
    std::size_t machineMessage = 192_MiB;
    std::size_t unaskedMessage = 1_MiB; ///< of a machine that owes no reply
    std::size_t memory = 1024_MiB;      ///< all bodies and messages together
    std::size_t callsOfMachine = 48; ///< below the 64 of an agent's inbox, so that it always goes on reading
    std::size_t callBytesOfMachine = 256_MiB; ///< below its 320 MiB
    std::size_t queuedCommand = 4_MiB;        ///< one command that is to wait for its machine
    std::size_t queuedCommands = 100;         ///< that wait on one connection
    std::size_t queuedBytes = 16_MiB;         ///< of them
    std::size_t queuedCommandsOfMachine = 400;
    std::size_t queuedBytesOfMachine = 64_MiB;
    std::size_t queuedResult = 8_MiB; ///< a larger result of a queued command is not kept
    std::size_t endedCommands = 200;  ///< kept of one connection, the newest
    std::size_t endedBytes = 64_MiB;  ///< of their results
    std::size_t connections = 512;    ///< HTTP connections at one time
    std::size_t machines = 2048;

    Duration header = 15s;   ///< for the whole head of a request
    Duration idle = 75s;     ///< between two requests of a connection
    Duration bodyIdle = 30s; ///< without a byte
    Duration smallBodyTime = 15s;
    Duration bodyTime = 600s;
    Duration handshake = 15s;
};

/// How long agents of one machine wait for each other.
struct ControlTimes {
    Duration idle = 30s;      ///< a holder that sends no command of control for this long loses it
    Duration turn = 10s;      ///< one whose turn comes while it has no command waiting has this long to act
    Duration place = 30s;     ///< one that gave up waiting keeps its place in line
    Duration patience = 60s;  ///< a command waits for control, then fails with machine_busy
    std::size_t maxLine = 32; ///< agents in line for one machine
};

/// Films that machines hand over.
struct RecordingRules {
    bool taken = true;                     ///< false takes no new ones; those that are here stay
    std::uint64_t largest = 2048_MiB;      ///< bytes of one film
    std::uint64_t allTogether = 20480_MiB; ///< bytes of all films
    std::uint64_t spareDisk = 512_MiB;     ///< bytes that stay free on the disk
    std::size_t openUploads = 8;           ///< of one connection at a time
    Duration kept = 30 * 24h;              ///< from the day on which it was handed over
    Duration uploadAddress = 15min;        ///< within which its body must begin to come
    Duration completion = 24h;             ///< within which a film that has come must be completed
    Duration recordingAddress = 1h;        ///< how long the address of a film is good
    Duration deletedKept = 7 * 24h;        ///< that a film was deleted can be asked for this long
};

/// What the person who starts the gateway chooses.
struct Settings {
    std::string dataFolder;
    std::string listen = "127.0.0.1"; ///< an address, not a name
    std::uint16_t port = 8737;        ///< 0 takes a free one
    std::string publicUrl;            ///< where browsers and machines reach it, when not where it listens
    std::string platformName = "Zelvo Local";
    bool personal = false;
    std::string minimumAppVersion; ///< empty lets every version in
    Duration commandTimeout = 180s;
    Duration pingPeriod = 20s;
    Duration linkLifetime = 15min;
    Duration consoleLinkLifetime = 10min;
    ControlTimes control;
    Duration queuedResultKept = 24h; ///< how a queued command ended can be asked for this long
    RecordingRules recordings;
    Limits limits;
};

} // namespace zelvo::service
