#include "platform/linux/dbus/LinuxFileReveal.h"

#include "base/LockedBox.h"
#include "desktop/dbus/PrivateBuses.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace zelvo::test {

namespace {

using testing::HasSubstr;

constexpr char const* service = "org.freedesktop.FileManager1";
constexpr char const* path = "/org/freedesktop/FileManager1";

class FileReveals : public testing::Test {
protected:
    std::string calls() { return buses.control(BusKind::session, service, path, "GetCalls", {}); }

    PrivateBuses buses;
    LockedBox<std::string> opened;
    RunningContexts running;
    LinuxFileReveal reveal{running.contexts().workers, running.session, [this](std::string url) {
                               opened.set(std::move(url));
                               return true;
                           }};
};

TEST_F(FileReveals, selectTheFileInTheFileManager)
{
    buses.start(BusKind::session);
    buses.mock(BusKind::session, service, path, service);
    buses.control(BusKind::session, service, path, "AddMethod",
                  {"sssss", service, "ShowItems", "ass", "", ""});

    reveal.reveal("/home/me/Видео & more/Zelvo #1%.mp4");

    std::string asked;
    ASSERT_TRUE(
        running.eventually([&] { return (asked = calls()).find("\"ShowItems\"") != std::string::npos; }));
    EXPECT_THAT(asked, HasSubstr("\"file:///home/me/%D0%92%D0%B8%D0%B4%D0%B5%D0%BE%20%26%20more/"
                                 "Zelvo%20%231%25.mp4\""));
    EXPECT_EQ(opened.get(), "");
}

TEST_F(FileReveals, openTheFolderWhereNoFileManagerAnswers)
{
    buses.start(BusKind::session);
    reveal.reveal("/no/such/folder/Zelvo x.mp4");
    EXPECT_TRUE(running.eventually([&] { return opened.get() == "file:///no/such/folder"; }));

    reveal.reveal(buses.folder()); // A folder is opened itself.
    EXPECT_TRUE(running.eventually([&] { return opened.get() == "file://" + buses.folder().string(); }));
}

} // namespace

} // namespace zelvo::test
