#pragma once

#include "BareEcho.h"
#include "RatioTable.h"

namespace zelvo {

/// Sends a text and waits for its echo, repeatedly.
void measureRoundTrips(benchmark::State& state, EchoDriver& driver, std::string const& text);
/// Bare Beast on a separate thread echoes the text over the loopback interface.
void bareEcho(benchmark::State& state, std::string const& text);
/// Many tasks, each posted from one thread's io_context to another's.
void hops(benchmark::State& state);

/// The time of one hop, from the benchmark "hops".
double hopOf(Times const& times);
std::function<double(Times const&)> timeOf(std::string name);

} // namespace zelvo
