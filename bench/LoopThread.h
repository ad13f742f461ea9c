#pragma once

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>

#include <thread>

namespace zelvo {

/// A thread that runs an io_context until this object is destroyed.
class LoopThread {
public:
    ~LoopThread()
    {
        work.reset();
        thread.join();
    }

    boost::asio::io_context io{1};

private:
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work{io.get_executor()};
    std::thread thread{[this] { io.run(); }};
};

} // namespace zelvo
