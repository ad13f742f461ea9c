#include "desktop/app/PanelFixture.h"

#include "app/QtConfirmationPanel.h"
#include "app/overlays/AgentCursorView.h"
#include "base/LocalizedTexts.h"
#include "desktop/harness/Painter.h"

#include <QScreen>

#include <bit>
#include <filesystem>

namespace zelvo::test {

namespace {

// Threads are never destroyed, as in the program; this keeps them reachable for leak checks.
std::vector<ProgramThreads*>& allThreads()
{
    static auto& all = *new std::vector<ProgramThreads*>;
    return all;
}

} // namespace

void PanelFixture::bringUp(int dpi)
{
    desktop.emplace(DesktopOptions{.width = 1280, .height = 1000});
    desktop->adoptEnvironment();
    Painter painter(desktop->display());
    painter.paintRoot(0x5b7083);
    std::string const resources = "Xft.dpi:\t" + std::to_string(dpi) + "\n";
    desktop->run({"xprop", "-root", "-f", "RESOURCE_MANAGER", "8s", "-set", "RESOURCE_MANAGER", resources});
    application.emplace(count, arguments);
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setApplicationDisplayName("Zelvo");
    texts::useLanguage("en");
    threads = allThreads().emplace_back(new ProgramThreads);
    Contexts const contexts = threads->contexts();
    platform = makePlatform(contexts);
    auto const openCursor = [this](AgentCursorModel& model) {
        return AgentCursorView::open(model, platform->overlays(), platform->clock());
    };
    parts = std::make_unique<AgentParts>(contexts, *platform, QtConfirmationPanel::maker(platform->clock()),
                                         openCursor);
    consent = std::make_unique<ConsentPresenter>(parts->links, parts->gate, contexts.main, platform->clock());
}

void PanelFixture::TearDown()
{
    threads->stop();
    platform->clock().dropSleepers();
    consent.reset();
    parts.reset();
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    application.reset();
    platform.reset();
}

bool PanelFixture::until(std::function<bool()> condition, std::chrono::milliseconds longest)
{
    return waitFor(
        [&] {
            QApplication::processEvents();
            QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            return condition();
        },
        longest);
}

std::shared_ptr<std::atomic<bool>> PanelFixture::begin(std::function<Task<>()> body)
{
    auto const done = std::make_shared<std::atomic<bool>>(false);
    spawn(threads->contexts().agent, [this, body = std::move(body), done]() -> Task<> {
        co_await parts->gate.beginAction();
        co_await body();
        *done = true;
    });
    return done;
}

void PanelFixture::perform(std::function<Task<>()> body, std::chrono::milliseconds longest)
{
    auto const done = begin(std::move(body));
    ASSERT_TRUE(until([&] { return done->load(); }, longest));
}

PanelFixture::Answer PanelFixture::ask(ConfirmationSubject subject, std::int64_t timeoutMs)
{
    auto const answer = std::make_shared<std::optional<Decision>>();
    spawn(threads->contexts().main, [this, subject, timeoutMs, answer]() -> Task<> {
        *answer = co_await parts->confirmations.ask(subject, "Acme Assistant", timeoutMs);
    });
    return answer;
}

PanelFixture::Answer PanelFixture::askShell(std::string command, std::int64_t timeoutMs)
{
    return ask({ConfirmationSubject::ShellCommand{std::move(command)}}, timeoutMs);
}

PanelFixture::Answer PanelFixture::choose(std::int64_t timeoutMs)
{
    auto const answer = std::make_shared<std::optional<Decision>>();
    spawn(threads->contexts().main, [this, timeoutMs, answer]() -> Task<> {
        ConfirmationPresenter::Choice choice{.title = "Run 3 commands?",
                                             .detail = "They came while the agent was paused.",
                                             .allowTitle = "Run",
                                             .denyTitle = "Drop"};
        *answer = co_await parts->confirmations.askChoice(std::move(choice), timeoutMs);
    });
    return answer;
}

PanelFixture::Answer PanelFixture::askAndWait(ConfirmationSubject subject)
{
    Answer answer = ask(std::move(subject));
    waitForPanel();
    return answer;
}

void PanelFixture::waitForPanel()
{
    ASSERT_TRUE(until([this] { return panel() && panel()->isActiveWindow(); }));
    pass();
}

void PanelFixture::offerLink()
{
    LinkOffer offer;
    offer.token = "token";
    offer.platformName = "Acme Assistant";
    offer.requestedScopes = {AgentScope::screen, AgentScope::input};
    offer.machineToken = "secret";
    parts->links.present(std::move(offer));
}

std::vector<ConfirmationDialog*> PanelFixture::panels()
{
    std::vector<ConfirmationDialog*> found;
    for (QWidget* const widget : QApplication::topLevelWidgets())
        if (auto* const dialog = dynamic_cast<ConfirmationDialog*>(widget); dialog && dialog->isVisible())
            found.push_back(dialog);
    return found;
}

ConfirmationDialog* PanelFixture::panel()
{
    auto const all = panels();
    return all.empty() ? nullptr : all.back();
}

DesktopPoint PanelFixture::middleOf(QWidget const& widget)
{
    QPointF const middle = widget.mapToGlobal(QPointF(widget.rect().center()));
    return {middle.x(), middle.y()};
}

void PanelFixture::clickOn(QWidget const& widget)
{
    DesktopPoint const middle = middleOf(widget);
    double const scale = widget.devicePixelRatio();
    desktop->run({"xdotool", "mousemove", std::to_string(int(middle.x * scale)),
                  std::to_string(int(middle.y * scale)), "click", "1"});
}

QImage PanelFixture::picture(std::string const& name)
{
    pass();
    QImage image = QApplication::primaryScreen()->grabWindow(0).toImage();
    std::filesystem::create_directories(ZELVO_PICTURES);
    image.save(QString::fromStdString(std::string(ZELVO_PICTURES) + "/panel-" + name + ".png"));
    return image;
}

std::uint16_t PanelFixture::heldMask() const
{
    XConnection const x = connectTo(desktop->display());
    XReply<xcb_query_pointer_reply_t> const pointer(
        xcb_query_pointer_reply(x.get(), xcb_query_pointer(x.get(), screenOf(x.get())->root), nullptr));
    return pointer->mask;
}

int PanelFixture::heldKeys() const
{
    XConnection const x = connectTo(desktop->display());
    XReply<xcb_query_keymap_reply_t> const keys(
        xcb_query_keymap_reply(x.get(), xcb_query_keymap(x.get()), nullptr));
    int held = 0;
    for (std::uint8_t const byte : keys->keys)
        held += std::popcount(byte);
    return held;
}

} // namespace zelvo::test
