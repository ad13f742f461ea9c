#pragma once

#include "app/AgentParts.h"
#include "app/AnswerGuard.h"
#include "app/ConsentPresenter.h"
#include "app/ConsentWindow.h"
#include "base/LocalizedTexts.h"
#include "desktop/harness/Painter.h"
#include "desktop/harness/PrivateDesktop.h"
#include "fakes/FakeConfirmationPanel.h"
#include "fakes/FakeOverlays.h"
#include "fakes/FakePlatform.h"

#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

using namespace std::chrono_literals;

inline LinkOffer offerOf(std::vector<AgentScope> scopes)
{
    LinkOffer offer;
    offer.token = "token";
    offer.platformName = "Acme Assistant";
    offer.verifiedDomain = "acme.example";
    offer.requestedScopes = std::move(scopes);
    offer.machineToken = "secret";
    return offer;
}

inline QPalette darkPalette()
{
    QPalette palette(QColor(0x24, 0x26, 0x2b));
    palette.setColor(QPalette::WindowText, QColor(0xec, 0xec, 0xf0));
    palette.setColor(QPalette::ButtonText, QColor(0xec, 0xec, 0xf0));
    return palette;
}

/// A desktop with a window manager, the program's parts on a fake platform, and the real window.
class ConsentWindowFixture : public testing::Test {
protected:
    void SetUp() override { bringUp(96); }

    void bringUp(int dpi)
    {
        desktop.emplace(test::DesktopOptions{.width = 1280, .height = 1600});
        desktop->adoptEnvironment();
        test::Painter painter(desktop->display());
        painter.paintRoot(0x5b7083);
        std::string const resources = "Xft.dpi:\t" + std::to_string(dpi) + "\n";
        desktop->run(
            {"xprop", "-root", "-f", "RESOURCE_MANAGER", "8s", "-set", "RESOURCE_MANAGER", resources});
        application.emplace(count, arguments);
        QApplication::setQuitOnLastWindowClosed(false);
        texts::useLanguage("en");
        platform.emplace();
        panels.emplace(platform->windowFocus);
        parts.emplace(platform->contexts, *platform, panels->maker(), overlays.cursorMaker());
        presenter.emplace(parts->links, parts->gate, platform->contexts.main, platform->time);
    }

    void TearDown() override
    {
        presenter.reset();
        parts.reset();
        platform.reset();
        application.reset();
    }

    // Runs the event loop and the program until the condition is true, at most ten seconds.
    bool until(std::function<bool()> condition, std::chrono::milliseconds longest = 10s)
    {
        return test::waitFor(
            [&] {
                QApplication::processEvents();
                platform->settle();
                return condition();
            },
            longest);
    }
    // Waits long enough for an unwanted event to happen.
    void pass()
    {
        until([] { return false; }, 400ms);
    }
    void open(LinkOffer offer)
    {
        parts->links.present(std::move(offer));
        ASSERT_TRUE(until([this] { return window() && window()->isActiveWindow(); }));
        ASSERT_TRUE(until([this] { return desktop->activeWindow() == window()->winId(); }));
    }
    // Opens the window and lets the person look at it before the next key.
    void present(LinkOffer offer)
    {
        open(std::move(offer));
        platform->time.advance(AnswerGuard::quiet);
    }
    void replaceBy(LinkOffer offer)
    {
        parts->links.present(std::move(offer));
        ASSERT_TRUE(
            until([this] { return words().find(localized("consent.changed")) != std::string::npos; }, 2s));
    }
    LinkOffer otherOffer()
    {
        LinkOffer other = offerOf({AgentScope::screen, AgentScope::input, AgentScope::shell});
        other.token = "other";
        other.platformName = "Evil";
        return other;
    }
    void expectUnanswered()
    {
        pass();
        EXPECT_TRUE(platform->loading.requests.empty());
        EXPECT_TRUE(parts->links.offer());
    }
    void press(std::string const& key) { desktop->run({"xdotool", "key", key}); }
    void moveTo(QWidget& widget)
    {
        QPointF const middle =
            widget.mapToGlobal(QPointF(widget.rect().center())) * widget.devicePixelRatio();
        desktop->run(
            {"xdotool", "mousemove", std::to_string(int(middle.x())), std::to_string(int(middle.y()))});
    }
    void clickOn(QWidget& widget)
    {
        moveTo(widget);
        desktop->run({"xdotool", "click", "1"});
    }

    ConsentWindow* window()
    {
        for (QWidget* const widget : QApplication::topLevelWidgets())
            if (auto* const found = dynamic_cast<ConsentWindow*>(widget); found && found->isVisible())
                return found;
        return nullptr;
    }
    template <class T>
    T* named(char const* key)
    {
        QString const wanted = QString::fromStdString(localized(key));
        for (T* const child : window()->findChildren<T*>())
            if (child->isVisible() && (child->accessibleName() == wanted || child->text() == wanted))
                return child;
        return nullptr;
    }
    // All texts of the window, one label per line.
    std::string words()
    {
        std::string all;
        for (QLabel* const label : window()->findChildren<QLabel*>())
            if (label->isVisible())
                all += label->accessibleName().toStdString() + "\n";
        return all;
    }
    // Saves a picture of the screen for inspection.
    QImage picture(std::string const& name)
    {
        pass();
        QImage image = QApplication::primaryScreen()->grabWindow(0).toImage();
        std::filesystem::create_directories(ZELVO_PICTURES);
        image.save(QString::fromStdString(std::string(ZELVO_PICTURES) + "/consent-" + name + ".png"));
        return image;
    }

    int count = 1;
    char program[5] = "test";
    char* arguments[2] = {program, nullptr};
    std::optional<test::PrivateDesktop> desktop;
    std::optional<QApplication> application;
    std::optional<FakePlatform> platform;
    std::optional<FakePanels> panels;
    FakeOverlays overlays;
    std::optional<AgentParts> parts;
    std::optional<ConsentPresenter> presenter;
};

inline std::vector<AgentScope> const everything(allScopes.begin(), allScopes.end());

} // namespace zelvo
