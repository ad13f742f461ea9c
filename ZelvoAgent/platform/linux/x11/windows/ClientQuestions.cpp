#include "platform/linux/x11/windows/ClientQuestions.h"

#include "platform/linux/applications/WindowTitle.h"

#include <xcb/res.h>

#include <algorithm>
#include <map>

namespace zelvo {

namespace {

using Property = SurveyQuestions::Property;

void askTitle(SurveyQuestions& questions, ClientWindow& client, std::uint32_t atom)
{
    questions.property(client.id, atom, maxTitleBytes / 4, [&client](Property const& reply) {
        std::string const bytes = firstTextIn(reply);
        if (!bytes.empty())
            client.title = windowTitle(bytes, reply.type == XCB_ATOM_STRING, reply.bytes_after > 0);
    });
}

void askWords(SurveyQuestions& questions, ClientWindow& client)
{
    auto const& atoms = questions.atoms();
    questions.property(client.id, atoms.gtkApplicationId, 256, [&client](Property const& reply) {
        client.words.gtkApplicationId = firstTextIn(reply);
    });
    questions.property(client.id, atoms.kdeDesktopFile, 1024, [&client](Property const& reply) {
        client.words.kdeDesktopFile = firstTextIn(reply);
    });
    questions.property(client.id, XCB_ATOM_WM_CLASS, 512, [&client](Property const& reply) {
        std::string const both = textIn(reply);
        bool const isLatin1 = reply.type == XCB_ATOM_STRING;
        std::size_t const end = both.find('\0');
        client.words.instance = windowTitle(both.substr(0, end), isLatin1, false);
        if (end != std::string::npos)
            client.words.className = windowTitle(both.c_str() + end + 1, isLatin1, false);
    });
}

/// Other windows that it names as the ones it belongs to.
void askRelations(SurveyQuestions& questions, ClientWindow& client)
{
    std::uint32_t const root = questions.server().root();
    auto const other = [root, &client](std::uint32_t window) {
        return window == root || window == client.id ? 0 : window;
    };
    questions.property(client.id, XCB_ATOM_WM_TRANSIENT_FOR, 1, [other, &client](Property const& reply) {
        if (auto const target = numbersIn(reply); !target.empty())
            client.transientFor = other(target.front());
    });
    // In the order of asking: the second one wins where it says anything.
    questions.property(client.id, questions.atoms().wmClientLeader, 1,
                       [other, &client](Property const& reply) {
                           if (auto const leader = numbersIn(reply); !leader.empty())
                               client.leader = other(leader.front());
                       });
    questions.property(client.id, XCB_ATOM_WM_HINTS, 9, [other, &client](Property const& reply) {
        constexpr std::uint32_t groupHint = 64; // In the first number; the group is the ninth.
        auto const hints = numbersIn(reply);
        if (hints.size() == 9 && (hints[0] & groupHint) && other(hints[8]))
            client.leader = other(hints[8]);
    });
}

template <class F>
void eachClient(WindowSurvey& survey, F visit)
{
    for (SurveyedWindow& window : survey.windows) {
        visit(window.client);
        for (EmbeddedWindow& inside : window.embedded)
            visit(inside.client);
    }
    for (ClientWindow& other : survey.others)
        visit(other);
    for (ClientWindow& leader : survey.leaders)
        visit(leader);
}

bool contains(std::span<std::uint32_t const> numbers, std::uint32_t number)
{
    return std::ranges::find(numbers, number) != numbers.end();
}

/// By the number of each client of the server.
using Processes = std::map<std::uint32_t, std::int32_t>;

Processes processesOf(SurveyQuestions& questions, WindowSurvey& survey)
{
    X11Connection const& server = questions.server();
    Processes pids;
    std::vector<xcb_res_client_id_spec_t> specs;
    eachClient(survey, [&](ClientWindow const& client) {
        if (pids.emplace(server.clientOf(client.id), 0).second)
            specs.push_back({client.id, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID});
    });
    auto const count = static_cast<std::uint32_t>(specs.size());
    questions.ask(xcb_res_query_client_ids(server.get(), count, specs.data()), xcb_res_query_client_ids_reply,
                  [&](xcb_res_query_client_ids_reply_t const& reply) {
                      auto item = xcb_res_query_client_ids_ids_iterator(&reply);
                      for (; item.rem; xcb_res_client_id_value_next(&item))
                          if (xcb_res_client_id_value_value_length(item.data) > 0)
                              pids[server.clientOf(item.data->spec.client)] =
                                  static_cast<std::int32_t>(*xcb_res_client_id_value_value(item.data));
                  });
    questions.run();
    return pids;
}

} // namespace

void askClient(SurveyQuestions& questions, ClientWindow& client)
{
    askWords(questions, client);
    askRelations(questions, client);
    // In the order of asking: the second one wins where it says anything.
    askTitle(questions, client, XCB_ATOM_WM_NAME);
    askTitle(questions, client, questions.atoms().netWmName);
    questions.property(client.id, questions.atoms().netWmPid, 1, [&client](Property const& reply) {
        if (auto const pid = numbersIn(reply); !pid.empty())
            client.pid = static_cast<std::int32_t>(pid.front());
    });
}

void askStanding(SurveyQuestions& questions, SurveyedWindow& window)
{
    auto const& atoms = questions.atoms();
    questions.property(window.client.id, atoms.netWmWindowType, 32, [&window, &atoms](Property const& reply) {
        window.desktop = contains(numbersIn(reply), atoms.typeDesktop);
        window.dock = contains(numbersIn(reply), atoms.typeDock);
    });
    questions.property(window.client.id, atoms.netWmState, 64, [&window, &atoms](Property const& reply) {
        window.above = contains(numbersIn(reply), atoms.netWmStateAbove);
    });
    questions.property(window.client.id, atoms.gtkFrameExtents, 4, [&window](Property const& reply) {
        if (auto const sides = numbersIn(reply); sides.size() == 4)
            for (std::size_t i = 0; i < 4; ++i)
                window.frameExtents[i] = static_cast<int>(std::min(sides[i], 32767u));
    });
}

void findProcesses(SurveyQuestions& questions, WindowSurvey& survey)
{
    if (!questions.server().capabilities().res)
        return;
    Processes const pids = processesOf(questions, survey);
    eachClient(survey, [&](ClientWindow& client) {
        if (std::int32_t const pid = pids.at(questions.server().clientOf(client.id)); pid > 0)
            client.pid = pid;
    });
}

} // namespace zelvo
