#include "app/QtExecutor.h"

#include "base/Hop.h"
#include "base/Task.h"

#include <QCoreApplication>
#include <QThread>
#include <QTimer>
#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/dispatch.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/strand.hpp>
#include <boost/asio/thread_pool.hpp>
#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>
#include <vector>

namespace zelvo {
namespace {

static_assert(asio::execution::is_executor<QtExecutor>::value);
static_assert(std::is_convertible_v<QtExecutor, asio::any_io_executor>);

// A Qt event loop, which needs no display while there are no windows.
class QtExecutorTest : public testing::Test {
protected:
    // Runs the loop until a function calls quit(), at most ten seconds.
    bool loop()
    {
        bool inTime = true;
        QTimer::singleShot(10000, &application, [&] {
            inTime = false;
            QCoreApplication::quit();
        });
        QCoreApplication::exec();
        return inTime;
    }

    int count = 1;
    char name[5] = "test";
    char* arguments[2] = {name, nullptr};
    QCoreApplication application{count, arguments};
    QtContext context;
    Executor executor = context.executor();
};

TEST_F(QtExecutorTest, runsWhatIsPostedInOrderOnTheMainThread)
{
    std::vector<int> order;
    QThread const* where = nullptr;

    asio::post(executor, [&] { order.push_back(1); });
    asio::post(executor, [&] { order.push_back(2); });
    asio::post(executor, [&] {
        where = QThread::currentThread();
        QCoreApplication::quit();
    });
    EXPECT_TRUE(order.empty());
    EXPECT_TRUE(loop());

    EXPECT_EQ(order, (std::vector<int>{1, 2}));
    EXPECT_EQ(where, application.thread());
}

TEST_F(QtExecutorTest, dispatchesAtOnceInsideOfPostedWorkAndNowhereElse)
{
    std::vector<int> order;

    asio::dispatch(executor, [&] {
        order.push_back(2);
        asio::dispatch(executor, [&] { order.push_back(3); });
        asio::post(executor, [&] {
            order.push_back(5);
            QCoreApplication::quit();
        });
        order.push_back(4);
    });
    order.push_back(1);
    EXPECT_TRUE(loop());

    EXPECT_EQ(order, (std::vector<int>{1, 2, 3, 4, 5}));
}

TEST_F(QtExecutorTest, takesWorkFromOtherThreads)
{
    int ran = 0; // main thread
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&] {
            for (int round = 0; round < 1000; ++round)
                asio::post(executor, [&] {
                    if (++ran == 4000)
                        QCoreApplication::quit();
                });
        });
    EXPECT_TRUE(loop());
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(ran, 4000);
}

TEST_F(QtExecutorTest, runsTasksThatHopToAnotherThreadAndBack)
{
    asio::thread_pool workers(1);
    std::thread::id elsewhere;
    QThread const* after = nullptr;

    spawn(executor, [&]() -> Task<> {
        elsewhere = co_await on(workers.get_executor(), [] { return std::this_thread::get_id(); });
        after = QThread::currentThread();
        QCoreApplication::quit();
    });
    EXPECT_TRUE(loop());

    EXPECT_NE(elsewhere, std::this_thread::get_id());
    EXPECT_EQ(after, application.thread());
}

TEST_F(QtExecutorTest, carriesAStrand)
{
    asio::strand<Executor> const strand(executor);
    std::vector<int> order;

    asio::post(strand, [&] { order.push_back(1); });
    asio::post(strand, [&] {
        order.push_back(2);
        QCoreApplication::quit();
    });
    EXPECT_TRUE(loop());

    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST_F(QtExecutorTest, goesOnAfterAFunctionThatFailed)
{
    struct PlainFailure {};
    asio::post(executor, [] { throw std::runtime_error("on purpose"); });
    asio::post(executor, [] { throw PlainFailure(); });
    asio::post(executor, [] { QCoreApplication::quit(); });

    EXPECT_TRUE(loop());
}

TEST_F(QtExecutorTest, answersForItsProperties)
{
    QtExecutor const plain = context.executor();
    auto const never = asio::require(plain, asio::execution::blocking_t::never);

    EXPECT_EQ(asio::query(plain, asio::execution::blocking), asio::execution::blocking_t::possibly);
    EXPECT_EQ(asio::query(never, asio::execution::blocking), asio::execution::blocking_t::never);
    EXPECT_EQ(&asio::query(plain, asio::execution::context), &context);
    EXPECT_EQ(&executor.context(), static_cast<asio::execution_context*>(&context));
    EXPECT_EQ(plain, asio::prefer(plain, asio::execution::outstanding_work.tracked));
    EXPECT_EQ(plain, asio::prefer(plain, asio::execution::relationship.continuation));
    EXPECT_NE(plain, never);
}

TEST(QtContext, dropsWhatStillWaitsWhenItGoes)
{
    int count = 1;
    char name[] = "test";
    char* arguments[] = {name, nullptr};
    QCoreApplication const application(count, arguments);
    auto const held = std::make_shared<int>(1);
    bool ran = false;

    {
        QtContext context;
        asio::post(context.executor(), [held, &ran] { ran = true; });
        spawn(context.executor(), [held]() -> Task<> { co_return; });
        EXPECT_GT(held.use_count(), 1);
    }

    EXPECT_FALSE(ran);
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(QtExecutorTest, takesNothingOnceItIsClosed)
{
    auto const held = std::make_shared<int>(1);
    asio::post(executor, [held] {});

    context.close();
    asio::post(executor, [held] {});

    EXPECT_EQ(held.use_count(), 1);
}

TEST(QtContext, keepsWhatIsPostedBeforeTheApplicationIsMade)
{
    QtContext context;
    bool ran = false;
    asio::post(context.executor(), [&] {
        ran = true;
        QCoreApplication::quit();
    });
    int count = 1;
    char name[] = "test";
    char* arguments[] = {name, nullptr};
    QCoreApplication const application(count, arguments);

    QCoreApplication::exec();

    EXPECT_TRUE(ran);
}

} // namespace
} // namespace zelvo
