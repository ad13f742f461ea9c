#include "gateway/exchange/ExchangeSides.h"

#include <functional>

namespace zelvo::service {

namespace {

using MakeSides = std::function<std::unique_ptr<ExchangeSides>()>;

struct Maker {
    char const* name;
    MakeSides make;
    std::optional<std::string> (*missing)();
};

std::optional<std::string> nothing()
{
    return std::nullopt;
}

/// What every exchange does, within a process and between two.
class ExchangeTest : public testing::TestWithParam<Maker> {
protected:
    void SetUp() override
    {
        if (auto const reason = GetParam().missing())
            GTEST_SKIP() << *reason;
        sides = GetParam().make();
    }

    std::unique_ptr<ExchangeSides> sides;
    std::shared_ptr<TestHolder> holder = std::make_shared<TestHolder>();

    TestHolder::Answer never()
    {
        return [this](std::string, std::string) -> Task<std::string> {
            co_await sides->clock.sleep(24h);
            co_return "late";
        };
    }
};

TEST_P(ExchangeTest, asksTheNodeThatHoldsTheMachine)
{
    auto const held = sides->hold(sides->second(), "m1", 1, holder);

    auto const question = sides->answered(sides->first(), "m1", "hello");

    EXPECT_EQ(question->answer, "echo hello");
    EXPECT_EQ(holder->asked, std::vector<std::string>{"echo"});
}

TEST_P(ExchangeTest, asksItselfToo)
{
    auto const held = sides->hold(sides->first(), "m1", 1, holder);

    EXPECT_EQ(sides->answered(sides->first(), "m1", "")->answer, "echo ");
}

TEST_P(ExchangeTest, reportsThatNobodyHoldsAMachine)
{
    auto const held = sides->hold(sides->second(), "m2", 1, holder);

    auto const question = sides->answered(sides->first(), "m1", "hello");

    ASSERT_TRUE(question->failure);
    EXPECT_EQ(question->failure->code, ErrorCode::machineOffline);
    EXPECT_TRUE(holder->asked.empty());
}

TEST_P(ExchangeTest, forgetsAHolderThatHasEnded)
{
    auto held = sides->hold(sides->second(), "m1", 1, holder);
    ASSERT_EQ(sides->answered(sides->first(), "m1", "1")->answer, "echo 1");

    held.reset();
    sides->settle();

    auto const question = sides->answered(sides->first(), "m1", "2");
    ASSERT_TRUE(question->failure);
    EXPECT_EQ(question->failure->code, ErrorCode::machineOffline);
    EXPECT_EQ(holder->replacedCount, 0);
}

TEST_P(ExchangeTest, carriesAFailureWhole)
{
    Failure const failure{.code = ErrorCode::hiddenAppActive,
                          .message = "An app is hidden",
                          .details = json::object{{"app", "org.example"}},
                          .requestId = "req_1",
                          .kind = Failure::Kind::wrongState,
                          .wasNotStarted = true};
    holder = std::make_shared<TestHolder>([failure](std::string, std::string) -> Task<std::string> {
        throw failure;
        co_return "";
    });
    auto const held = sides->hold(sides->second(), "m1", 1, holder);

    auto const question = sides->answered(sides->first(), "m1", "hello");

    ASSERT_TRUE(question->failure);
    EXPECT_EQ(question->failure->code, failure.code);
    EXPECT_EQ(question->failure->message, failure.message);
    EXPECT_EQ(question->failure->details, failure.details);
    EXPECT_EQ(question->failure->requestId, failure.requestId);
    EXPECT_EQ(question->failure->kind, failure.kind);
    EXPECT_TRUE(question->failure->wasNotStarted);
}

TEST_P(ExchangeTest, hidesWhatElseAHolderThrows)
{
    holder = std::make_shared<TestHolder>([](std::string, std::string) -> Task<std::string> {
        throw std::runtime_error("secret");
        co_return "";
    });
    auto const held = sides->hold(sides->second(), "m1", 1, holder);

    auto const question = sides->answered(sides->first(), "m1", "hello");

    ASSERT_TRUE(question->failure);
    EXPECT_EQ(question->failure->code, ErrorCode::internalError);
    EXPECT_EQ(question->failure->message.find("secret"), std::string::npos);
}

TEST_P(ExchangeTest, endsAQuestionInTime)
{
    holder = std::make_shared<TestHolder>(never());
    auto const held = sides->hold(sides->second(), "m1", 1, holder);
    auto const question = sides->ask(sides->first(), "m1", "hello", 10s);
    ASSERT_TRUE(sides->until([&] { return holder->running == 1; }));
    sides->settle(); // Its time runs.

    for (int second = 0; second < 10; ++second) {
        EXPECT_FALSE(question->isOver());
        sides->clock.advance(1s);
        sides->settle();
    }

    ASSERT_TRUE(sides->until([&] { return question->isOver(); }));
    ASSERT_TRUE(question->failure);
    EXPECT_EQ(question->failure->code, ErrorCode::timeout);
    EXPECT_TRUE(sides->until([&] { return holder->running == 0; }));
}

TEST_P(ExchangeTest, cancelsTheAnswerThatNobodyWaitsFor)
{
    holder = std::make_shared<TestHolder>(never());
    auto const held = sides->hold(sides->second(), "m1", 1, holder);
    auto const question = sides->ask(sides->first(), "m1", "hello");
    ASSERT_TRUE(sides->until([&] { return holder->running == 1; }));
    sides->settle(); // The first node has heard who answers.

    question->task.cancel();

    EXPECT_TRUE(sides->until([&] { return holder->running == 0; }));
}

TEST_P(ExchangeTest, movesAMachineToTheNewerSession)
{
    auto const newer = std::make_shared<TestHolder>();
    auto held = sides->hold(sides->first(), "m1", 1, holder);
    sides->settle();

    auto const heldByNewer = sides->hold(sides->second(), "m1", 2, newer);

    EXPECT_TRUE(sides->until([&] { return holder->replacedCount == 1; }));
    held.reset(); // Late, and without effect.
    EXPECT_EQ(sides->answered(sides->first(), "m1", "a")->answer, "echo a");
    EXPECT_EQ(sides->answered(sides->second(), "m1", "b")->answer, "echo b");
    EXPECT_TRUE(holder->asked.empty());
    EXPECT_EQ(newer->asked.size(), 2U);
    EXPECT_EQ(newer->replacedCount, 0);
}

TEST_P(ExchangeTest, refusesAnOlderSessionThatComesLate)
{
    auto const late = std::make_shared<TestHolder>();
    auto const held = sides->hold(sides->first(), "m1", 7, holder);
    sides->settle();

    auto const heldByLate = sides->hold(sides->second(), "m1", 6, late);

    EXPECT_TRUE(sides->until([&] { return late->replacedCount == 1; }));
    EXPECT_EQ(sides->answered(sides->second(), "m1", "a")->answer, "echo a");
    EXPECT_EQ(holder->replacedCount, 0);
    EXPECT_EQ(holder->asked.size(), 1U);
}

TEST_P(ExchangeTest, carriesLongTextsBothWays)
{
    std::string text(160UL * 1024 * 1024 + 7, 'x');
    for (std::size_t at = 0; at < text.size(); at += 4096)
        text[at] = static_cast<char>('a' + at / 4096 % 26);
    auto const held = sides->hold(sides->second(), "m1", 1, holder);

    auto const question = sides->answered(sides->first(), "m1", text);

    ASSERT_TRUE(question->answer);
    EXPECT_TRUE(*question->answer == "echo " + text);
}

TEST_P(ExchangeTest, answersManyQuestionsAtOnce)
{
    auto const held = sides->hold(sides->second(), "m1", 1, holder);
    std::vector<std::shared_ptr<AskedQuestion>> questions;
    for (int number = 0; number < 200; ++number)
        questions.push_back(sides->ask(sides->first(), "m1",
                                       std::string(number % 2 ? 300'000 : 30, 'x') + std::to_string(number)));

    ASSERT_TRUE(sides->until([&] {
        return std::ranges::all_of(questions, [](auto const& question) { return question->isOver(); });
    }));

    for (int number = 0; number < 200; ++number) {
        ASSERT_TRUE(questions[number]->answer) << number;
        EXPECT_TRUE(questions[number]->answer->ends_with("x" + std::to_string(number)));
    }
}

TEST_P(ExchangeTest, sendsNoticesToEveryObserver)
{
    std::vector<std::string> heard;
    auto const atFirst =
        sides->first().observe("keys", [&](std::string const& text) { heard.push_back("first " + text); });
    auto atSecond =
        sides->second().observe("keys", [&](std::string const& text) { heard.push_back("second " + text); });
    auto const other = sides->second().observe(
        "others", [&](std::string const& text) { heard.push_back("others " + text); });

    sides->first().publish("keys", "1");

    ASSERT_TRUE(sides->until([&] { return heard.size() == 2; }));
    std::ranges::sort(heard);
    EXPECT_EQ(heard, (std::vector<std::string>{"first 1", "second 1"}));

    atSecond.reset();
    heard.clear();
    sides->second().publish("keys", "2");
    ASSERT_TRUE(sides->until([&] { return !heard.empty(); }));
    sides->settle();
    EXPECT_EQ(heard, std::vector<std::string>{"first 2"});
}

INSTANTIATE_TEST_SUITE_P(Sides,
                         ExchangeTest,
                         testing::Values(Maker{.name = "local",
                                               .make = [] { return std::make_unique<LocalSides>(); },
                                               .missing = nothing},
                                         Maker{.name = "nats",
                                               .make = [] { return std::make_unique<NatsSides>(); },
                                               .missing = PrivateNats::missing}),
                         [](auto const& of) { return of.param.name; });

} // namespace

} // namespace zelvo::service
