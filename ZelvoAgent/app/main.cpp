#include "app/AppDelegate.h"
#include "app/ProgramThreads.h"
#include "app/WindowIcon.h"
#include "base/LocalizedTexts.h"
#include "base/UnusedMemory.h"
#include "platform/Platform.h"

#include <QApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QMessageBox>
#include <QSessionManager>
#include <QTranslator>
#include <boost/asio/signal_set.hpp>

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace zelvo {
namespace {

// SIGTERM, SIGINT and SIGHUP are a normal end, like the session's end and "Quit".
void endOnSignals(asio::signal_set& signals, Executor main, std::function<void()> end)
{
    signals.async_wait([main, end = std::move(end)](boost::system::error_code const& error, int) {
        if (!error)
            asio::post(main, end);
    });
}

bool isSet(char const* variable)
{
    char const* const value = std::getenv(variable);
    return value && *value;
}

bool hasDisplay()
{
    return isSet("DISPLAY") || isSet("WAYLAND_DISPLAY");
}

/// The program takes no toolkit options either, so Qt sees only the program's name, and which display server
/// comes first: on some desktops it prefers the X server even where there is none.
class ToolkitArguments {
public:
    explicit ToolkitArguments(char* program) : values{program, option, choice, nullptr} {}

    int count = isSet("WAYLAND_DISPLAY") ? 3 : 1;
    char option[10] = "-platform";
    char choice[12] = "wayland;xcb";
    char* values[4];
};

/// Qt looks only when it starts whether somebody reads windows. Ours are always there for a screen reader,
/// and so are those of the programs that we start, which inherit this.
void keepWindowsReadable()
{
    ::setenv("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1", 1);
}

/// The session manager's order to end arrives as a Quit event, by which the toolkit would leave its event
/// loop with a recording open.
class Application final : public QApplication {
public:
    Application(ToolkitArguments& arguments, std::function<void()> end)
        : QApplication(arguments.count, arguments.values), end(std::move(end))
    {
    }

    bool event(QEvent* event) override
    {
        if (event->type() != QEvent::Quit)
            return QApplication::event(event);
        end();
        return true;
    }

private:
    std::function<void()> end;
};

/// The folder chooser is the toolkit's, with texts that come in a separate package.
void translateToolkit(QApplication& application)
{
    std::string const language = texts::languageOfEnvironment();
    auto const ours = texts::languages();
    auto* const translator = new QTranslator(&application);
    if (std::ranges::find(ours, language) != ours.end() &&
        translator->load(QLocale(QString::fromStdString(language)), "qtbase", "_",
                         QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QApplication::installTranslator(translator);
}

void describeToToolkit(QApplication& application)
{
    QApplication::setApplicationName("zelvo-agent");
    QApplication::setApplicationDisplayName("Zelvo");
    QApplication::setDesktopFileName("dev.zelvo.agent");
    QApplication::setWindowIcon(windowIcon());
    QApplication::setQuitOnLastWindowClosed(false);
    // Autostart begins the next run; the session manager must not restore this command line.
    QObject::connect(&application, &QGuiApplication::saveStateRequest, &application,
                     [](QSessionManager& session) { session.setRestartHint(QSessionManager::RestartNever); });
}

/// Copies the arguments and overwrites them, because every program of this user can read the list of
/// processes and a link's token is a secret.
std::vector<std::string> takeArguments(int count, char** arguments)
{
    std::vector<std::string> taken(arguments + 1, arguments + count);
    for (int i = 1; i < count; ++i)
        ::explicit_bzero(arguments[i], std::strlen(arguments[i]));
    return taken;
}

/// Says why, if the stored settings can't be used.
bool hasUsableSettings(Platform& platform)
{
    try {
        platform.defaults().bringUpToDate();
        return true;
    } catch (std::runtime_error const& error) {
        std::fprintf(stderr, "Zelvo cannot run: %s\n", error.what());
        QMessageBox::critical(nullptr, "Zelvo", QString::fromUtf8(error.what()));
        return false;
    }
}

/// Replaces this process by another version of the program. Returns if that is not possible.
void runInstead(std::string program, std::vector<std::string> urls)
{
    std::vector<char*> arguments{program.data()};
    for (std::string& url : urls)
        arguments.push_back(url.data());
    arguments.push_back(nullptr);
    ::execv(program.c_str(), arguments.data());
}

int runApplication(char* program, std::vector<std::string> const& urls)
{
    auto& threads = *new ProgramThreads; // Never destroyed; see ProgramThreads.h.
    Contexts const contexts = threads.contexts();
    asio::signal_set signals(threads.agentContext(), SIGTERM, SIGINT, SIGHUP);
    std::unique_ptr<AppDelegate> delegate;
    endOnSignals(signals, contexts.main, [&delegate] {
        if (delegate)
            delegate->terminate();
        else
            QCoreApplication::exit();
    });
    std::unique_ptr<Platform> platform = makePlatform(contexts);
    SingleInstance::Requests requests{
        .open = [&delegate](
                    std::vector<std::string> const& opened) { return delegate && delegate->open(opened); },
        .activate = [&delegate] { return delegate && delegate->bringToFront(); }};
    int result = 0;
    if (platform->singleInstance().claim(urls, std::move(requests))) {
        ToolkitArguments arguments(program);
        Application application(arguments, [&delegate] {
            if (delegate)
                delegate->terminate();
        });
        // Not before: a display that is gone is no fault of a new version.
        if (auto const previous = platform->updates().begin())
            runInstead(*previous, urls);
        describeToToolkit(application);
        translateToolkit(application);
        if (!hasUsableSettings(*platform))
            std::_Exit(EXIT_FAILURE); // Nothing has started that would have to end.
        delegate = std::make_unique<AppDelegate>(contexts, *platform, [] { QCoreApplication::exit(); });
        // The session manager waits until this returns.
        QObject::connect(&application, &QGuiApplication::commitDataRequest, &application,
                         [&delegate] { delegate->closeRecording(); });
        delegate->open(urls);
        delegate->start();
        result = QApplication::exec();
        delegate->willTerminate();
        threads.stop();
        platform->clock().dropSleepers(); // A sleeping batch holds on to the router.
        delegate.reset();
    } else {
        threads.stop();
    }
    platform.reset();
    return result;
}

} // namespace
} // namespace zelvo

int main(int argc, char** argv)
{
    zelvo::useOneHeap();
    std::vector<std::string> const urls = zelvo::takeArguments(argc, argv);
    if (!zelvo::hasDisplay()) {
        std::fputs("Zelvo needs a graphical session: DISPLAY is not set.\n", stderr);
        return EXIT_FAILURE;
    }
    std::signal(SIGPIPE,
                SIG_IGN); // A lost peer is an error of the write, not the end of the program.
    zelvo::keepWindowsReadable();
    try {
        return zelvo::runApplication(argv[0], urls);
    } catch (std::exception const& error) {
        std::fprintf(stderr, "Zelvo cannot run: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
