#include "platform/linux/x11/windows/WindowSurvey.h"

#include "platform/linux/x11/windows/ClientQuestions.h"
#include "platform/linux/x11/windows/EmbeddedSearch.h"
#include "platform/linux/x11/windows/FrameSearch.h"
#include "platform/linux/x11/windows/SurveyQuestions.h"
#include "platform/linux/x11/windows/TopLevelSurvey.h"

#include <set>
#include <utility>

namespace zelvo {

namespace {

/// One look at the windows, in rounds of questions that are sent together.
class Survey {
public:
    explicit Survey(X11Connection const& connection) : questions(connection) {}

    WindowSurvey take()
    {
        askRoot();
        SurveyChildren const children = surveyTopLevels(questions, survey);
        FrameSearch(questions, survey, windowManager).run(children);
        EmbeddedSearch(questions, survey).run(children);
        askClients();
        askOthers();
        findProcesses(questions, survey);
        return std::move(survey);
    }

private:
    using Property = SurveyQuestions::Property;
    using Windows = std::vector<std::uint32_t>;

    void askRoot()
    {
        std::uint32_t const root = questions.server().root();
        questions.children(root, [this](Windows const& found) {
            for (std::uint32_t const id : found)
                survey.windows.emplace_back().id = id;
        });
        questions.property(root, questions.atoms().netClientList, 4096, [this](Property const& reply) {
            auto const list = numbersIn(reply);
            managedClients.assign(list.begin(), list.end());
        });
        questions.property(root, questions.atoms().netSupportingWmCheck, 1, [this](Property const& reply) {
            if (auto const check = numbersIn(reply); !check.empty())
                windowManager = questions.server().clientOf(check.front());
        });
        questions.run();
    }

    void askClients()
    {
        for (SurveyedWindow& window : survey.windows) {
            askClient(questions, window.client);
            askStanding(questions, window);
            for (EmbeddedWindow& inside : window.embedded)
                askClient(questions, inside.client);
        }
        questions.run();
    }

    /// Minimised windows tell of their process's applications too, and those that others belong to may be
    /// anywhere.
    void askOthers()
    {
        std::set<std::uint32_t> known;
        Windows wanted = managedClients;
        Windows wantedLeaders;
        auto const note = [&](ClientWindow const& client) {
            known.insert(client.id);
            if (client.transientFor)
                wanted.push_back(client.transientFor);
            if (client.leader)
                wantedLeaders.push_back(client.leader);
        };
        for (SurveyedWindow const& window : survey.windows) {
            note(window.client);
            for (EmbeddedWindow const& inside : window.embedded)
                note(inside.client);
        }
        for (int round = 0; round < 4 && !(wanted.empty() && wantedLeaders.empty()); ++round) {
            std::size_t const first = survey.others.size();
            ask(std::exchange(wanted, {}), survey.others, known);
            ask(std::exchange(wantedLeaders, {}), survey.leaders, known);
            questions.run();
            for (std::size_t i = first; i < survey.others.size(); ++i)
                note(survey.others[i]);
        }
    }

    void ask(Windows const& wanted, std::vector<ClientWindow>& clients, std::set<std::uint32_t>& known)
    {
        std::size_t const first = clients.size();
        for (std::uint32_t const id : wanted)
            if (known.insert(id).second)
                clients.emplace_back().id = id;
        for (std::size_t i = first; i < clients.size(); ++i) {
            survey.watched.push_back(clients[i].id);
            askClient(questions, clients[i]);
        }
    }

    SurveyQuestions questions;
    WindowSurvey survey;
    Windows managedClients;
    std::uint32_t windowManager = 0;
};

} // namespace

WindowSurvey surveyWindows(X11Connection const& connection)
{
    return Survey(connection).take();
}

} // namespace zelvo
