#include "confirm/ElementOperator.h"

#include "unit/confirm/ElementProbeFixture.h"

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Outcome = ElementOperating::Outcome;

/// A window with the button "OK" and the field "Name"; titles are the elements' names.
class ElementOperatorTest : public ElementProbeTest {
public:
    ElementOperatorTest()
    {
        FakeElement field{.role = "AXTextField", .title = "Name"};
        focusWindow(window({button("OK", {{.role = "AXStaticText", .title = "words"}}), field}));
        // Nobody knows where windows are.
        platform.windowList.failure = AgentError::machineUnavailable;
        platform.elements.isRelative = true;
        expected = look("OK").value_or(ProbedElement());
    }

    std::optional<ProbedElement> look(std::string const& name, std::int32_t pid = appPid)
    {
        return run(platform.io, probe.element(NamedElement{pid, name}));
    }
    Outcome operate(std::string const& name, std::optional<std::string> text = {}, std::int32_t pid = appPid)
    {
        ElementOperation operation{.element = {pid, name}, .text = std::move(text)};
        operation.expected = expected;
        return run(platform.io, operating.operate(std::move(operation)));
    }

    bool isPaused = false;
    PostingGate gate{platform.posting, platform.contexts.workers, [this] { return isPaused; },
                     [] { return std::vector<DesktopRect>(); }};
    ElementOperator operating{probe, gate};
    ProbedElement expected; ///< the button
};

TEST_F(ElementOperatorTest, seesWhatAPressPresses)
{
    EXPECT_EQ(expected.role, "AXButton");
    EXPECT_EQ(expected.title, "OK");
    EXPECT_EQ(expected.appName, "Acme Mail");
    EXPECT_EQ(expected.windowSubrole, "AXStandardWindow");
    EXPECT_EQ(look("words"), expected); // A part of a button is that button.
    EXPECT_EQ(look("other"), std::nullopt);
    EXPECT_EQ(look(""), std::nullopt);
}

TEST_F(ElementOperatorTest, pressesAndSetsWhatWasJudged)
{
    EXPECT_EQ(operate("OK"), Outcome::done);
    expected = look("Name").value();
    EXPECT_EQ(operate("Name", "text"), Outcome::done);
    EXPECT_THAT(platform.elements.deeds, ElementsAre("press OK", "set Name: text"));
    EXPECT_THAT(platform.posting.posted, IsEmpty());
    EXPECT_THAT(platform.elements.hits, IsEmpty());
}

TEST_F(ElementOperatorTest, leavesAloneWhatChanged)
{
    app().focusedWindow->children->front().description = "Deletes everything";
    EXPECT_EQ(operate("OK"), Outcome::changed);
    app().focusedWindow->children->front().description.reset();
    app().focusedWindow->subrole = "AXDialog";
    EXPECT_EQ(operate("OK"), Outcome::changed);
    app().focusedWindow->children->clear();
    EXPECT_EQ(operate("OK"), Outcome::changed);
    EXPECT_THAT(platform.elements.deeds, IsEmpty());
}

TEST_F(ElementOperatorTest, leavesAloneWhatCannotBeReadInFull)
{
    app().isSilent = true;
    EXPECT_EQ(operate("OK"), Outcome::changed);
    EXPECT_THAT(platform.elements.deeds, IsEmpty());
}

TEST_F(ElementOperatorTest, passesOnWhatTheApplicationSays)
{
    app().answer = ElementDeed::impossible;
    EXPECT_EQ(operate("OK"), Outcome::impossible);
    app().answer = ElementDeed::refused;
    EXPECT_EQ(operate("OK"), Outcome::refused);
}

TEST_F(ElementOperatorTest, neverOperatesThisProgram)
{
    platform.desktop.front->pid = platform.machineFacts.pid;
    platform.elements.applications[platform.machineFacts.pid] = app();
    EXPECT_EQ(look("OK", platform.machineFacts.pid), std::nullopt);
    EXPECT_EQ(operate("OK", {}, platform.machineFacts.pid), Outcome::stopped);
    EXPECT_THAT(platform.elements.deeds, IsEmpty());
}

/// An application may list elements of this program as its own.
TEST_F(ElementOperatorTest, neverOperatesAnotherProcessInTheApplication)
{
    app().focusedWindow->children->front().pid = platform.machineFacts.pid;
    EXPECT_EQ(look("OK"), std::nullopt);
    EXPECT_EQ(operate("OK"), Outcome::changed);
    app().focusedWindow->children->front().pid = 777;
    EXPECT_EQ(operate("OK"), Outcome::changed);
    EXPECT_THAT(platform.elements.deeds, IsEmpty());
}

TEST_F(ElementOperatorTest, neverOperatesAHiddenApplication)
{
    run(platform.io, hiddenApps.add("mail"));
    EXPECT_EQ(look("OK"), std::nullopt);
    EXPECT_EQ(operate("OK"), Outcome::stopped);

    run(platform.io, hiddenApps.remove("mail"));
    run(platform.io, hiddenApps.add("org.acme.secret"));
    platform.desktop.running[appPid].names.hideWith({{"org.acme.secret"}}); // In the same process.
    EXPECT_EQ(operate("OK"), Outcome::stopped);
    EXPECT_THAT(platform.elements.deeds, IsEmpty());
}

TEST_F(ElementOperatorTest, operatesOnlyWhatIsInFront)
{
    platform.desktop.front->pid = appPid + 1;
    EXPECT_EQ(operate("OK"), Outcome::stopped);
    platform.desktop.front.reset();
    EXPECT_EQ(operate("OK"), Outcome::stopped);
    EXPECT_THAT(platform.elements.deeds, IsEmpty());
}

TEST_F(ElementOperatorTest, stopsWhereKeysWouldNotPass)
{
    isPaused = true;
    EXPECT_EQ(operate("OK"), Outcome::stopped);
    isPaused = false;
    run(platform.io, gate.close());
    EXPECT_EQ(operate("OK"), Outcome::stopped);
    gate.open();
    platform.systemAccess.granted.accessibility = false;
    EXPECT_EQ(operate("OK"), Outcome::stopped);
    EXPECT_THAT(platform.elements.deeds, IsEmpty());
}

TEST_F(ElementOperatorTest, stopsWhenAHiddenApplicationCameToTheFront)
{
    FrontWatch watch{platform.contexts, platform.fronts, platform.desktop, hiddenApps,
                     platform.machineFacts.pid};
    gate.watch(watch);
    watch.start({});
    run(platform.io, gate.beginAction());
    EXPECT_EQ(operate("OK"), Outcome::done);

    run(platform.io, hiddenApps.add("org.acme.secret"));
    auto const shown = *platform.desktop.front;
    platform.desktop.front->names = {{"org.acme.secret"}};
    platform.fronts.changed();
    platform.settle();
    platform.desktop.front = shown; // It was there for a moment: the action was for what it covers.
    platform.fronts.changed();
    EXPECT_EQ(operate("OK"), Outcome::stopped);
    EXPECT_THAT(platform.elements.deeds, ElementsAre("press OK"));
}

/// A question must not open while something is still being pressed.
TEST_F(ElementOperatorTest, theGateWaitsForADeed)
{
    std::optional<std::size_t> deedsAtTheEnd;
    bool isClosing = false;
    platform.elements.onReader = [&](std::size_t) {
        if (std::exchange(isClosing, true))
            return;
        asio::co_spawn(platform.io, gate.close(),
                       [&](std::exception_ptr const&) { deedsAtTheEnd = platform.elements.deeds.size(); });
        platform.io.poll(); // It would close now if nothing was under way.
    };
    EXPECT_EQ(operate("OK"), Outcome::done);
    EXPECT_EQ(deedsAtTheEnd, 1u);
    EXPECT_EQ(operate("OK"), Outcome::stopped);
}

} // namespace
} // namespace zelvo
