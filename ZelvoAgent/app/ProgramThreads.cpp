#include "app/ProgramThreads.h"

#include <cstdio>
#include <exception>

namespace zelvo {

namespace {

constexpr std::size_t workerCount = 4; // One of them may be busy with an upload for hours.

} // namespace

ProgramThreads::ProgramThreads()
    : agentWork(agent.get_executor()), workers(workerCount), agentThread([this] { runAgent(); })
{
}

Contexts ProgramThreads::contexts()
{
    return {.main = main.executor(), .agent = agent.get_executor(), .workers = workers.get_executor()};
}

void ProgramThreads::stop()
{
    agent.stop();
    agentThread.join();
    workers.stop();
    workers.join();
    main.close();
}

// Tasks report their own failures. What arrives here is a plain function's, which must not end the thread.
void ProgramThreads::runAgent()
{
    while (!agent.stopped()) {
        try {
            agent.run();
        } catch (std::exception const& error) {
            std::fprintf(stderr, "Zelvo: a function on the agent thread failed: %s\n", error.what());
        } catch (...) {
            std::fputs("Zelvo: a function on the agent thread failed\n", stderr);
        }
    }
}

} // namespace zelvo
