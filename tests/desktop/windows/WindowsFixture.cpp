#include "desktop/windows/WindowsFixture.h"

#include "app/widgets/ElidedLabel.h"
#include "app/widgets/TextLabel.h"
#include "base/LocalizedTexts.h"
#include "desktop/harness/Painter.h"
#include "desktop/harness/WaitFor.h"

#include <QKeyEvent>
#include <QPalette>
#include <QScreen>
#include <QWindow>

#include <filesystem>

namespace zelvo::test {

namespace {

QPalette paletteFor(bool isDark)
{
    if (!isDark)
        return QPalette(QColor(0xef, 0xef, 0xef));
    QPalette palette(QColor(0x24, 0x26, 0x2b));
    for (auto const role : {QPalette::WindowText, QPalette::ButtonText, QPalette::Text})
        palette.setColor(role, QColor(0xec, 0xec, 0xf0));
    palette.setColor(QPalette::Base, QColor(0x1c, 0x1e, 0x22));
    return palette;
}

} // namespace

void WindowsFixture::bringUp(Look look)
{
    desktop.emplace(
        DesktopOptions{.width = look.width, .height = look.height, .windowManager = look.windowManager});
    desktop->adoptEnvironment();
    Painter(desktop->display()).paintRoot(0x5b7083);
    std::string const resources = "Xft.dpi:\t" + std::to_string(look.dpi) + "\n";
    desktop->run({"xprop", "-root", "-f", "RESOURCE_MANAGER", "8s", "-set", "RESOURCE_MANAGER", resources});
    application.emplace(count, arguments);
    QApplication::setQuitOnLastWindowClosed(false);
    setLook(look);
    platform.emplace();
    platform->systemAccess.granted = {.accessibility = true, .screenRecording = true};
    panels.emplace(platform->windowFocus);
    parts =
        std::make_unique<AgentParts>(platform->contexts, *platform, panels->maker(), overlays.cursorMaker());
    updater = std::make_unique<Updater>(Updater::Services{
        .updates = platform->programUpdates, .information = platform->info, .state = parts->state});
    consent = std::make_unique<ConsentPresenter>(parts->links, parts->gate, platform->contexts.main,
                                                 platform->time);
    AppServices services{
        .contexts = platform->contexts,
        .platform = *platform,
        .parts = *parts,
        .updater = *updater,
        .openWindow = {},
        .quit = [this] { ++quits; },
        .restartIntoUpdate = [this](std::function<void()> failed) { restarts.push_back(std::move(failed)); }};
    ui = std::make_unique<UserInterface>(std::move(services), *consent);
}

void WindowsFixture::startUpdates()
{
    platform->info.texts["SUPublicEDKey"] = "key";
    updater->start();
}

void WindowsFixture::setLook(Look look)
{
    static double const normal = QApplication::font().pointSizeF();
    QFont font = QApplication::font();
    font.setPointSizeF(normal * look.fontScale);
    QApplication::setFont(font);
    QApplication::setPalette(paletteFor(look.isDark));
    texts::useLanguage(look.language);
}

void WindowsFixture::TearDown()
{
    texts::useLanguage("en");
    for (auto const& panel : panels->made)
        if (panel->isShown)
            panel->reports.close();
    settle();
    platform->time.advance(5s); // Leaving a question takes a while.
    settle();
    ui.reset();
    platform->time.dropSleepers();
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    consent.reset();
    parts.reset();
    platform.reset(); // With the tasks that still wait.
    application.reset();
}

bool WindowsFixture::until(std::function<bool()> condition, std::chrono::milliseconds longest)
{
    return waitFor(
        [&] {
            QApplication::processEvents();
            QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            platform->settle();
            return condition();
        },
        longest);
}

void WindowsFixture::settle()
{
    for (int i = 0; i < 4; ++i) {
        QApplication::processEvents();
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        platform->settle();
    }
}

ContentWindow& WindowsFixture::open(AppWindow which)
{
    ui->openWindows().open(which);
    ContentWindow& window = *ui->openWindows().shown(which);
    EXPECT_TRUE(until([&] { return window.isVisible() && window.windowHandle()->isExposed(); }));
    settle();
    return window;
}

void WindowsFixture::close(AppWindow which)
{
    ui->openWindows().shown(which)->close();
    settle();
}

MenuPanel& WindowsFixture::openPanel()
{
    ui->togglePanel(QRect(1200, 4, 22, 22));
    EXPECT_TRUE(until([this] { return ui->shownPanel() && ui->shownPanel()->isVisible(); }));
    settle();
    return *ui->shownPanel();
}

void WindowsFixture::connect()
{
    parts->state.setGatewayState(GatewayConnectionState::of(GatewayConnectionState::Kind::connected));
}

void WindowsFixture::startAgent()
{
    platform->secretStore.items[{"dev.zelvo.agent", "machine_token"}] = "mt";
    parts->state.startObserving();
    parts->runtime.start();
    settle();
}

void WindowsFixture::startRecording()
{
    parts->recording.state().setMode(RecordingMode::local);
    startAgent();
    run(platform->io, parts->recording.recorder().agentActed("c", "Acme"));
    platform->streams.deliver(platform->time.now());
    settle();
}

void WindowsFixture::startWithTray()
{
    platform->settings.setBoolean("zelvo.welcomeSeen", true);
    platform->systemTray.state.isPresent = true;
    ui->start();
    settle();
}

GrantedConnection WindowsFixture::grant(std::string id, std::string name, std::vector<AgentScope> scopes)
{
    GrantedConnection connection;
    connection.id = std::move(id);
    connection.platformName = std::move(name);
    connection.scopes = std::move(scopes);
    parts->state.grant(connection);
    return connection;
}

void WindowsFixture::fillLog(int entries)
{
    for (int i = 0; i < entries; ++i) {
        platform->time.advance(7min);
        AgentState::LogLine line{.platform = "Acme Assistant", .summary = "clicked 3 times in Writer"};
        line.kind = ActivityKind::actions;
        line.agentName = "Bookkeeper";
        if (i % 3 == 1) {
            line.summary = localized("activity.terminal.ran");
            line.kind = ActivityKind::terminal;
            line.detail = "ls -l /home/person/Documents\ntotal 4\n-rw-r--r-- 1 person person 120 letter.odt";
        } else if (i % 3 == 2) {
            line.platform = localized("activity.server");
            line.summary = localized("activity.connected");
            line.kind = ActivityKind::server;
            line.agentName.reset();
        }
        parts->state.log(std::move(line));
    }
}

void WindowsFixture::pressKey(QWidget& window, int key)
{
    QWidget* const receiver = window.focusWidget() ? window.focusWidget() : &window;
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
    QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier);
    QApplication::sendEvent(receiver, &press);
    QApplication::sendEvent(receiver, &release);
}

void WindowsFixture::picture(QWidget& window, std::string const& name)
{
    std::filesystem::create_directories(ZELVO_PICTURES);
    QPixmap const grabbed = window.grab();
    grabbed.save(QString(ZELVO_PICTURES) + "/window-" + QString::fromStdString(name) + ".png");
}

std::string WindowsFixture::words(QWidget const& window)
{
    std::string all;
    for (QWidget const* const child : window.findChildren<QWidget*>())
        if (child->isVisible() && !child->accessibleName().isEmpty())
            all += child->accessibleName().toStdString() + "\n";
    return all;
}

} // namespace zelvo::test
