#pragma once

#include "fakes/FakePlatform.h"
#include "platform/portable/updates/ArchiveUpdates.h"
#include "unit/system/TemporaryFolder.h"
#include "unit/updates/TestRelease.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace zelvo {

/// A program in a folder, its updates on a machine in memory, and a publisher.
class UpdatesFixture : public testing::Test, protected UpdateDelegate {
protected:
    using Phase = UpdateProgress::Phase;

    UpdatesFixture()
    {
        before.writeTo(installed);
        platform.info.texts["CFBundleShortVersionString"] = "1.0";
        platform.info.texts["SUFeedURL"] = "https://updates.example/feed.json";
        platform.info.texts["SUPublicEDKey"] = signer.publicKey();
        platform.processes.onLaunch = [this](std::shared_ptr<FakeChild> const& child) {
            child->end(startStatus);
        };
        platform.time.start = Date(std::chrono::sys_days(std::chrono::year(2026) / 11 / 21));
    }
    ~UpdatesFixture() override
    {
        controller.reset();
        platform.settle();
    }

    ArchiveUpdates makeUpdates()
    {
        return ArchiveUpdates({.contexts = platform.contexts,
                               .clock = platform.time,
                               .http = platform.loading,
                               .children = platform.processes,
                               .information = platform.info,
                               .program = installed / "zelvo-agent",
                               .records = records,
                               .target = {.system = "linux", .architecture = "x86_64", .language = "en"}});
    }
    void start()
    {
        controller = makeUpdates().start(*this);
        platform.settle();
    }
    void check()
    {
        controller->checkForUpdates();
        platform.settle();
    }
    /// The server's answers to one whole check.
    void offer(TestVersion const& version)
    {
        TestFeed const feed{.version = version.version, .archive = version.archive()};
        platform.loading.answer(200, feed.signedBy(signer));
        platform.loading.answer(200, feed.archive);
    }
    void offerFeed(TestFeed const& feed) { platform.loading.answer(200, feed.signedBy(signer)); }
    bool isReady() const { return !reports.empty() && reports.back().phase == Phase::ready; }
    /// Nothing of this program's folder has changed, and nothing is prepared.
    void expectUntouched() const
    {
        EXPECT_FALSE(isReady());
        EXPECT_TRUE(before.isIn(installed));
        EXPECT_FALSE(controller->installOnQuit());
        EXPECT_TRUE(before.isIn(installed));
    }
    /// The only text of a check that was refused.
    void expectFailure(std::string const& text)
    {
        ASSERT_EQ(aborts.size(), 1U);
        EXPECT_EQ(aborts.back().code, UpdateAbort::failed);
        EXPECT_EQ(aborts.back().description, text);
        expectUntouched();
    }
    std::vector<std::filesystem::path> downloads() const
    {
        std::vector<std::filesystem::path> found;
        std::error_code error;
        for (auto const& entry : std::filesystem::directory_iterator(records, error))
            if (entry.path().extension() == ".download")
                found.push_back(entry.path());
        return found;
    }

    void progressed(UpdateProgress progress) override { reports.push_back(std::move(progress)); }
    void didAbort(UpdateAbort abort) override { aborts.push_back(std::move(abort)); }
    void willInstallUpdateOnQuit(UpdateItem item) override { installing.push_back(std::move(item)); }

    FakePlatform platform;
    TemporaryFolder temporary;
    std::filesystem::path installed = temporary.path / "zelvo-agent";
    std::filesystem::path standby = temporary.path / ".zelvo-agent.standby";
    std::filesystem::path records = temporary.path / "records";
    TestSigner signer;
    TestVersion before{.version = "1.0"};
    TestVersion after{.version = "2.0"};
    int startStatus = 1;
    std::vector<UpdateProgress> reports;
    std::vector<UpdateAbort> aborts;
    std::vector<UpdateItem> installing;
    std::unique_ptr<UpdateController> controller;
};

} // namespace zelvo
