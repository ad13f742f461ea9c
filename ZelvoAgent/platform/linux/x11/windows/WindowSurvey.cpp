#include "platform/linux/x11/windows/WindowSurvey.h"

#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/XBatch.h"
#include "platform/linux/x11/windows/WindowTitle.h"

#include <xcb/res.h>
#include <xcb/shape.h>

#include <algorithm>
#include <map>
#include <set>
#include <span>
#include <string>
#include <unordered_map>

namespace zelvo {

namespace {

std::string textIn(xcb_get_property_reply_t const& reply)
{
    if (reply.format != 8)
        return {};
    std::string text(static_cast<char const*>(xcb_get_property_value(&reply)),
                     static_cast<std::size_t>(xcb_get_property_value_length(&reply)));
    return text;
}

std::string firstTextIn(xcb_get_property_reply_t const& reply)
{
    std::string text = textIn(reply);
    return text.substr(0, text.find('\0'));
}

std::span<std::uint32_t const> numbersIn(xcb_get_property_reply_t const& reply)
{
    if (reply.format != 32)
        return {};
    return {static_cast<std::uint32_t const*>(xcb_get_property_value(&reply)),
            static_cast<std::size_t>(xcb_get_property_value_length(&reply)) / 4};
}

bool contains(std::span<std::uint32_t const> numbers, std::uint32_t number)
{
    return std::ranges::find(numbers, number) != numbers.end();
}

/// A window somewhere below a child of the root, while the way down is found.
struct Step {
    std::size_t top = 0; ///< whose it is: an index into the survey's windows
    std::uint32_t window = 0;
    std::uint32_t within =
        0; ///< the client's window that it lies in; a window of another client is embedded there
};

/// One look at the windows, in rounds of questions that are sent together.
class Survey {
public:
    explicit Survey(X11Connection const& connection) : connection(connection), x(connection.get()), batch(x)
    {
    }

    WindowSurvey take()
    {
        askRoot();
        askTopLevels();
        askWhatIsInside();
        findClients();
        findEmbedded();
        askClients();
        askOthers();
        askProcesses();
        return std::move(survey);
    }

private:
    using Property = xcb_get_property_reply_t;

    template <class Handler>
    void askProperty(std::uint32_t window, std::uint32_t atom, std::uint32_t words, Handler handler)
    {
        batch.ask(xcb_get_property(x, 0, window, atom, XCB_ATOM_ANY, 0, words), xcb_get_property_reply,
                  handler);
    }

    template <class Handler>
    void askChildren(std::uint32_t window, Handler handler)
    {
        batch.ask(
            xcb_query_tree(x, window), xcb_query_tree_reply, [handler](xcb_query_tree_reply_t const& reply) {
                auto const* first = xcb_query_tree_children(&reply);
                handler(std::vector<std::uint32_t>(first, first + xcb_query_tree_children_length(&reply)));
            });
    }

    void askRoot()
    {
        auto const& atoms = connection.atoms();
        askChildren(connection.root(), [this](std::vector<std::uint32_t> found) {
            survey.windows.resize(found.size());
            for (std::size_t i = 0; i < found.size(); ++i)
                survey.windows[i].id = found[i];
        });
        askProperty(connection.root(), atoms.netClientList, 4096, [this](Property const& reply) {
            auto const list = numbersIn(reply);
            managedClients.assign(list.begin(), list.end());
        });
        askProperty(connection.root(), atoms.netSupportingWmCheck, 1, [this](Property const& reply) {
            if (auto const check = numbersIn(reply); !check.empty())
                windowManager = connection.clientOf(check.front());
        });
        batch.run();
    }

    void askTopLevels()
    {
        for (SurveyedWindow& window : survey.windows) {
            batch.ask(xcb_get_window_attributes(x, window.id), xcb_get_window_attributes_reply,
                      [&window](xcb_get_window_attributes_reply_t const& reply) {
                          window.viewable = reply.map_state == XCB_MAP_STATE_VIEWABLE;
                          window.inputOnly = reply._class == XCB_WINDOW_CLASS_INPUT_ONLY;
                          window.overrideRedirect = reply.override_redirect;
                      });
        }
        batch.run();
        std::erase_if(survey.windows, [](SurveyedWindow const& window) { return !window.viewable; });
        children.resize(survey.windows.size());
    }

    void askWhatIsInside()
    {
        for (std::size_t i = 0; i < survey.windows.size(); ++i) {
            SurveyedWindow& window = survey.windows[i];
            window.client.id = window.id;
            askGeometry(window);
            askShapes(window);
            askChildren(window.id,
                        [this, i](std::vector<std::uint32_t> inside) { children[i] = std::move(inside); });
            askProperty(window.id, connection.atoms().wmState, 0,
                        [&window](Property const& reply) { window.managed = reply.type != XCB_ATOM_NONE; });
        }
        batch.run();
    }

    void askGeometry(SurveyedWindow& window)
    {
        batch.ask(xcb_get_geometry(x, window.id), xcb_get_geometry_reply,
                  [&window](xcb_get_geometry_reply_t const& reply) {
                      window.depth = reply.depth;
                      window.border = reply.border_width;
                      window.area = {reply.x, reply.y, reply.width + 2 * reply.border_width,
                                     reply.height + 2 * reply.border_width};
                  });
    }

    void askShapes(SurveyedWindow& window)
    {
        if (!connection.capabilities().shape)
            return;
        batch.ask(xcb_shape_get_rectangles(x, window.id, XCB_SHAPE_SK_INPUT), xcb_shape_get_rectangles_reply,
                  [&window](xcb_shape_get_rectangles_reply_t const& reply) {
                      PixelRegion const input = regionIn(reply, window);
                      window.emptyInputShape = input.isEmpty();
                      if (input.all() != std::vector<PixelRect>{window.area})
                          window.input = input;
                  });
        batch.ask(xcb_shape_query_extents(x, window.id), xcb_shape_query_extents_reply,
                  [&window](xcb_shape_query_extents_reply_t const& reply) {
                      window.shaped = reply.bounding_shaped;
                  });
        batch.ask(xcb_shape_get_rectangles(x, window.id, XCB_SHAPE_SK_BOUNDING),
                  xcb_shape_get_rectangles_reply, [&window](xcb_shape_get_rectangles_reply_t const& reply) {
                      if (window.shaped)
                          window.shape = regionIn(reply, window);
                  });
    }

    /// A shape on the root window.
    static PixelRegion regionIn(xcb_shape_get_rectangles_reply_t const& reply, SurveyedWindow const& window)
    {
        PixelRegion region;
        auto const* first = xcb_shape_get_rectangles_rectangles(&reply);
        auto const count = xcb_shape_get_rectangles_rectangles_length(&reply);
        for (auto const& part : std::span(first, static_cast<std::size_t>(count)))
            region.add({window.area.x + window.border + part.x, window.area.y + window.border + part.y,
                        part.width, part.height});
        return region;
    }

    bool isForeign(std::uint32_t window, std::uint32_t other) const
    {
        return connection.clientOf(window) != connection.clientOf(other);
    }

    /// Finds the window with WM_STATE in each frame: a child of another client, or below the window manager's
    /// own windows. Of several, as in frames with tabs, the topmost that is shown counts.
    void findClients()
    {
        std::vector<Step> level;
        for (std::size_t i = 0; i < survey.windows.size(); ++i) {
            if (!survey.windows[i].managed)
                for (std::uint32_t const child : children[i])
                    level.push_back({i, child});
        }
        for (int depth = 0; depth < 3 && !level.empty(); ++depth) {
            for (Step const& step : level)
                if (isForeign(step.window, survey.windows[step.top].id))
                    askWhetherClient(step);
            batch.run();
            level = belowFrames(level);
        }
        for (SurveyedWindow& window : survey.windows)
            window.windowManagers =
                !window.managed && windowManager && connection.clientOf(window.id) == windowManager;
    }

    void askWhetherClient(Step const& step)
    {
        askProperty(step.window, connection.atoms().wmState, 0, [this, step](Property const& reply) {
            if (reply.type != XCB_ATOM_NONE)
                clients.insert(step.window);
        });
        batch.ask(xcb_get_window_attributes(x, step.window), xcb_get_window_attributes_reply,
                  [this, step](xcb_get_window_attributes_reply_t const& reply) {
                      SurveyedWindow& frame = survey.windows[step.top];
                      bool const shown = reply.map_state == XCB_MAP_STATE_VIEWABLE;
                      if (!clients.contains(step.window) || (frame.managed && !shown))
                          return;
                      frame.managed = true;
                      frame.client.id = step.window;
                  });
    }

    /// The next level down in frames whose client is not found yet. Some window managers put it one window
    /// deeper.
    std::vector<Step> belowFrames(std::vector<Step> const& level)
    {
        std::vector<Step> next;
        for (Step const& step : level) {
            SurveyedWindow const& frame = survey.windows[step.top];
            if (frame.managed || connection.clientOf(frame.id) != windowManager ||
                isForeign(step.window, frame.id))
                continue;
            askChildren(step.window, [&next, step](std::vector<std::uint32_t> const& inside) {
                for (std::uint32_t const child : inside)
                    next.push_back({step.top, child});
            });
        }
        batch.run();
        return next;
    }

    /// Goes down each client's window and collects other clients' windows in it.
    void findEmbedded()
    {
        std::vector<Step> level;
        for (std::size_t i = 0; i < survey.windows.size(); ++i) {
            SurveyedWindow const& window = survey.windows[i];
            if (window.inputOnly || window.windowManagers)
                continue;
            bool const framed = window.client.id != window.id;
            if (framed) {
                level.push_back({i, window.client.id, window.client.id});
                survey.watched.push_back(window.client.id);
            }
            for (std::uint32_t const child : children[i])
                if (!framed || (child != window.client.id && isForeign(child, window.id)))
                    addInside({i, child, window.id}, level);
            survey.watched.push_back(window.id);
        }
        // A page or a video is a few windows deep; no window tree of use is deeper than this.
        for (int depth = 0; depth < 16 && !level.empty(); ++depth) {
            std::vector<Step> next;
            for (Step const& step : level)
                askChildren(step.window, [this, &next, step](std::vector<std::uint32_t> const& inside) {
                    for (std::uint32_t const child : inside)
                        addInside({step.top, child, step.within}, next);
                });
            batch.run();
            level = std::move(next);
        }
    }

    void addInside(Step step, std::vector<Step>& level)
    {
        if (isForeign(step.window, step.within)) {
            survey.windows[step.top].embedded.emplace_back().client.id = step.window;
            step.within = step.window;
        }
        level.push_back(step);
        survey.watched.push_back(step.window);
    }

    void askClients()
    {
        for (SurveyedWindow& window : survey.windows) {
            askClient(window.client);
            askStanding(window);
            for (EmbeddedWindow& inside : window.embedded) {
                askClient(inside.client);
                askArea(inside);
            }
        }
        batch.run();
        for (SurveyedWindow& window : survey.windows)
            std::erase_if(window.embedded,
                          [](EmbeddedWindow const& inside) { return inside.area.isEmpty(); });
    }

    void askClient(ClientWindow& client)
    {
        auto const& atoms = connection.atoms();
        askProperty(client.id, atoms.gtkApplicationId, 256,
                    [&client](Property const& reply) { client.words.gtkApplicationId = firstTextIn(reply); });
        askProperty(client.id, atoms.kdeDesktopFile, 1024,
                    [&client](Property const& reply) { client.words.kdeDesktopFile = firstTextIn(reply); });
        askProperty(client.id, XCB_ATOM_WM_CLASS, 512, [&client](Property const& reply) {
            std::string const both = textIn(reply);
            bool const isLatin1 = reply.type == XCB_ATOM_STRING;
            std::size_t const end = both.find('\0');
            client.words.instance = windowTitle(both.substr(0, end), isLatin1, false);
            if (end != std::string::npos)
                client.words.className = windowTitle(both.c_str() + end + 1, isLatin1, false);
        });
        askProperty(client.id, XCB_ATOM_WM_TRANSIENT_FOR, 1, [this, &client](Property const& reply) {
            if (auto const target = numbersIn(reply); !target.empty() && target.front() != connection.root())
                client.transientFor = target.front();
        });
        // In the order of asking: the second one wins where it says anything.
        askTitle(client, XCB_ATOM_WM_NAME);
        askTitle(client, atoms.netWmName);
        askProperty(client.id, atoms.netWmPid, 1, [&client](Property const& reply) {
            if (auto const pid = numbersIn(reply); !pid.empty())
                client.pid = static_cast<std::int32_t>(pid.front());
        });
    }

    void askTitle(ClientWindow& client, std::uint32_t atom)
    {
        askProperty(client.id, atom, maxTitleBytes / 4, [&client](Property const& reply) {
            std::string const bytes = firstTextIn(reply);
            if (!bytes.empty())
                client.title = windowTitle(bytes, reply.type == XCB_ATOM_STRING, reply.bytes_after > 0);
        });
    }

    void askStanding(SurveyedWindow& window)
    {
        auto const& atoms = connection.atoms();
        askProperty(window.client.id, atoms.netWmWindowType, 32, [&window, &atoms](Property const& reply) {
            window.desktop = contains(numbersIn(reply), atoms.typeDesktop);
            window.dock = contains(numbersIn(reply), atoms.typeDock);
        });
        askProperty(window.client.id, atoms.netWmState, 64, [&window, &atoms](Property const& reply) {
            window.above = contains(numbersIn(reply), atoms.netWmStateAbove);
        });
        askProperty(window.client.id, atoms.gtkFrameExtents, 4, [&window](Property const& reply) {
            if (auto const sides = numbersIn(reply); sides.size() == 4)
                for (std::size_t i = 0; i < 4; ++i)
                    window.frameExtents[i] = static_cast<int>(std::min(sides[i], 32767u));
        });
    }

    void askArea(EmbeddedWindow& inside)
    {
        batch.ask(xcb_get_window_attributes(x, inside.client.id), xcb_get_window_attributes_reply,
                  [this, &inside](xcb_get_window_attributes_reply_t const& reply) {
                      if (reply.map_state == XCB_MAP_STATE_VIEWABLE &&
                          reply._class == XCB_WINDOW_CLASS_INPUT_OUTPUT)
                          visible.insert(inside.client.id);
                  });
        batch.ask(xcb_get_geometry(x, inside.client.id), xcb_get_geometry_reply,
                  [this, &inside](xcb_get_geometry_reply_t const& reply) {
                      inside.place = {reply.x, reply.y, reply.width + 2 * reply.border_width,
                                      reply.height + 2 * reply.border_width};
                      if (visible.contains(inside.client.id))
                          inside.area = {-reply.border_width, -reply.border_width,
                                         reply.width + 2 * reply.border_width,
                                         reply.height + 2 * reply.border_width};
                  });
        batch.ask(xcb_translate_coordinates(x, inside.client.id, connection.root(), 0, 0),
                  xcb_translate_coordinates_reply, [&inside](xcb_translate_coordinates_reply_t const& reply) {
                      inside.area = inside.area.movedBy(reply.dst_x, reply.dst_y);
                  });
    }

    /// Minimised windows tell of their process's names too, and those that others are transient for may be
    /// anywhere.
    void askOthers()
    {
        std::set<std::uint32_t> known;
        std::vector<std::uint32_t> wanted = managedClients;
        auto const note = [&](ClientWindow const& client) {
            known.insert(client.id);
            if (client.transientFor)
                wanted.push_back(client.transientFor);
        };
        for (SurveyedWindow const& window : survey.windows) {
            note(window.client);
            for (EmbeddedWindow const& inside : window.embedded)
                note(inside.client);
        }
        for (int round = 0; round < 4 && !wanted.empty(); ++round) {
            std::size_t const first = survey.others.size();
            for (std::uint32_t const id : wanted)
                if (known.insert(id).second)
                    survey.others.emplace_back().id = id;
            for (std::size_t i = first; i < survey.others.size(); ++i) {
                survey.watched.push_back(survey.others[i].id);
                askClient(survey.others[i]);
            }
            batch.run();
            wanted.clear();
            for (std::size_t i = first; i < survey.others.size(); ++i)
                if (survey.others[i].transientFor)
                    wanted.push_back(survey.others[i].transientFor);
        }
    }

    /// The process that the server sees at the other end is a fact; what a window says is used only without
    /// it.
    void askProcesses()
    {
        std::map<std::uint32_t, std::int32_t> pids;
        if (connection.capabilities().res) {
            std::vector<xcb_res_client_id_spec_t> specs;
            eachClient([&](ClientWindow& client) {
                if (pids.emplace(connection.clientOf(client.id), 0).second)
                    specs.push_back({client.id, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID});
            });
            batch.ask(xcb_res_query_client_ids(x, static_cast<std::uint32_t>(specs.size()), specs.data()),
                      xcb_res_query_client_ids_reply, [&](xcb_res_query_client_ids_reply_t const& reply) {
                          auto item = xcb_res_query_client_ids_ids_iterator(&reply);
                          for (; item.rem; xcb_res_client_id_value_next(&item))
                              if (xcb_res_client_id_value_value_length(item.data) > 0)
                                  pids[connection.clientOf(item.data->spec.client)] =
                                      static_cast<std::int32_t>(*xcb_res_client_id_value_value(item.data));
                      });
            batch.run();
        }
        eachClient([&](ClientWindow& client) {
            if (std::int32_t const pid = pids[connection.clientOf(client.id)]; pid > 0)
                client.pid = pid;
        });
    }

    template <class F>
    void eachClient(F visit)
    {
        for (SurveyedWindow& window : survey.windows) {
            visit(window.client);
            for (EmbeddedWindow& inside : window.embedded)
                visit(inside.client);
        }
        for (ClientWindow& other : survey.others)
            visit(other);
    }

    X11Connection const& connection;
    xcb_connection_t* x;
    XBatch batch;
    WindowSurvey survey;
    std::vector<std::uint32_t> managedClients;
    std::uint32_t windowManager = 0;
    std::vector<std::vector<std::uint32_t>> children; // of each of the survey's windows
    std::set<std::uint32_t> clients;                  // with WM_STATE, in frames
    std::set<std::uint32_t> visible;
};

} // namespace

WindowSurvey surveyWindows(X11Connection const& connection)
{
    return Survey(connection).take();
}

} // namespace zelvo
