#pragma once

#include "base/LocalizedTexts.h"
#include "unit/router/RouterHarness.h"

#include <gmock/gmock.h>

#include <array>
#include <utility>

namespace zelvo {

class RouterConfirmationsTest : public RouterHarness {
protected:
    static constexpr char const* save = R"({"actions":[{"type":"key","keys":["cmd","s"]}]})";

    void SetUp() override
    {
        RouterHarness::SetUp();
        front("org.form", "Form");
    }
    json::object perform(std::string const& actions)
    {
        return call("actions.perform", R"({"actions":)" + actions + "}");
    }
    json::object press(std::string const& keys) { return perform(R"([{"type":"key","keys":)" + keys + "}]"); }
    json::object clickAt() { return perform(R"([{"type":"click","x":10,"y":20}])"); }
    void setPolicy(ConfirmationPolicy policy)
    {
        GrantedConnection connection = *state.connection("c");
        connection.policy = policy;
        state.grant(std::move(connection));
    }
    /// Reads a tree of one element and gives a click on it.
    std::string elementClick(std::string role, std::string title, std::optional<std::string> identifier = {})
    {
        UiElementInfo info;
        info.id = "e0";
        info.role = std::move(role);
        info.title = std::move(title);
        info.identifier = std::move(identifier);
        info.frame = {100, 200, 30, 11};
        tree.elements = {info};
        tree.app = UiTreeSnapshot::App{"org.form", "Form"};
        call("ui.tree");
        return R"([{"type":"click_element","snapshotId":"snp_1","elementId":"e0"}])";
    }
    static ConfirmationSubject submit(std::string title)
    {
        return {ConfirmationSubject::SubmitButton{std::move(title)}};
    }
    static ConfirmationSubject dialogButton(std::string title, std::string app)
    {
        return {ConfirmationSubject::DialogButton{std::move(title), std::move(app)}};
    }
    static ConfirmationSubject shortcut(std::string keys, std::string app, std::string_view meaning)
    {
        return {ConfirmationSubject::KeyShortcut{std::move(keys), std::move(app), localized(meaning)}};
    }
    /// Commands that are no input, each of which the person is asked about with `askAboutEveryCommand`.
    static constexpr std::array<std::pair<char const*, char const*>, 3> askedCommands = {{
        {"shell.run", R"({"command":"ls"})"},
        {"urls.open", R"({"url":"mailto:a@b.example"})"},
        {"files.upload.begin", R"({"path":"/a","data":""})"},
    }};
    void askAboutEveryCommand()
    {
        ConfirmationPolicy policy;
        policy.confirmFileWrite = true;
        setPolicy(policy);
    }
    void expectThatEachWasAskedAboutAndNoneRan()
    {
        EXPECT_THAT(confirmations.questions, testing::SizeIs(askedCommands.size()));
        EXPECT_THAT(shell.runs, testing::IsEmpty());
        EXPECT_THAT(platform.desktop.openedUrls, testing::IsEmpty());
        EXPECT_THAT(files.writes, testing::IsEmpty());
    }
    void becomes(Availability availability)
    {
        platform.sessionEvents.present = availability;
        state.refreshAvailability();
    }
    std::vector<ConfirmationSubject> asked() const
    {
        std::vector<ConfirmationSubject> subjects;
        for (FakeConfirming::Question const& question : confirmations.questions)
            subjects.push_back(question.subject);
        return subjects;
    }
};

} // namespace zelvo
