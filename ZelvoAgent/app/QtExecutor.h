#pragma once

#include <boost/asio/execution.hpp>
#include <boost/asio/execution_context.hpp>

#include <memory>
#include <utility>

namespace zelvo {

class QtExecutor;

/// The Qt event loop of the main thread as an Asio execution context. Each posted function runs as a separate
/// event, in the order of posting; functions still queued when the context is destroyed are dropped without
/// having run. Created on the main thread, after the QApplication and before everything that posts to it;
/// destroyed in reverse order.
class QtContext final : public boost::asio::execution_context {
public:
    QtContext();
    ~QtContext();
    QtContext(QtContext const&) = delete;
    QtContext& operator=(QtContext const&) = delete;

    QtExecutor executor() noexcept;

    /// Drops queued functions without running them, and everything that is posted from now on.
    void close();

    /// A queued function.
    struct Work {
        virtual ~Work() = default;
        virtual void run() = 0;
    };
    /// Thread: any.
    void post(std::unique_ptr<Work> work);
    /// True inside a posted function, where dispatched work may run at once. Thread: any.
    bool isRunningHere() const noexcept;

private:
    class Receiver;
    std::unique_ptr<Receiver> receiver;
};

/// An executor of a QtContext, for asio::any_io_executor. Thread: any.
class QtExecutor {
public:
    explicit QtExecutor(QtContext& context) noexcept : context(&context) {}

    QtContext& query(boost::asio::execution::context_t) const noexcept { return *context; }

    using Blocking = boost::asio::execution::blocking_t;
    Blocking query(Blocking) const noexcept
    {
        return mayBlock ? Blocking(Blocking::possibly) : Blocking(Blocking::never);
    }
    QtExecutor require(Blocking::possibly_t) const noexcept { return {*context, true}; }
    QtExecutor require(Blocking::never_t) const noexcept { return {*context, false}; }

    // The loop has one queue and runs until it is told to quit, so these two properties do not matter to it.
    using Relationship = boost::asio::execution::relationship_t;
    static constexpr Relationship query(Relationship) noexcept { return Relationship::fork; }
    QtExecutor require(Relationship::fork_t) const noexcept { return *this; }
    QtExecutor require(Relationship::continuation_t) const noexcept { return *this; }

    using OutstandingWork = boost::asio::execution::outstanding_work_t;
    static constexpr OutstandingWork query(OutstandingWork) noexcept { return OutstandingWork::untracked; }
    QtExecutor require(OutstandingWork::untracked_t) const noexcept { return *this; }
    QtExecutor require(OutstandingWork::tracked_t) const noexcept { return *this; }

    template <class F>
    void execute(F function) const
    {
        if (mayBlock && context->isRunningHere())
            std::move(function)();
        else
            context->post(std::make_unique<WorkOf<F>>(std::move(function)));
    }

    bool operator==(QtExecutor const&) const noexcept = default;

private:
    QtExecutor(QtContext& context, bool mayBlock) noexcept : context(&context), mayBlock(mayBlock) {}

    template <class F>
    struct WorkOf final : QtContext::Work {
        explicit WorkOf(F function) : function(std::move(function)) {}
        void run() override { std::move(function)(); }
        F function;
    };

    QtContext* context;
    bool mayBlock = true;
};

} // namespace zelvo
