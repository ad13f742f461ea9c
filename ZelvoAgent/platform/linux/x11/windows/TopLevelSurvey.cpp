#include "platform/linux/x11/windows/TopLevelSurvey.h"

#include <xcb/shape.h>

#include <algorithm>
#include <span>
#include <utility>

namespace zelvo {

namespace {

void dropHidden(SurveyQuestions& questions, WindowSurvey& survey)
{
    for (SurveyedWindow& window : survey.windows) {
        questions.attributes(window.id, [&window](xcb_get_window_attributes_reply_t const& reply) {
            window.viewable = reply.map_state == XCB_MAP_STATE_VIEWABLE;
            window.inputOnly = reply._class == XCB_WINDOW_CLASS_INPUT_ONLY;
            window.overrideRedirect = reply.override_redirect;
        });
    }
    questions.run();
    std::erase_if(survey.windows, [](SurveyedWindow const& window) { return !window.viewable; });
}

void askGeometry(SurveyQuestions& questions, SurveyedWindow& window)
{
    questions.geometry(window.id, [&window](xcb_get_geometry_reply_t const& reply) {
        window.depth = reply.depth;
        window.border = reply.border_width;
        window.area = {reply.x, reply.y, reply.width + 2 * reply.border_width,
                       reply.height + 2 * reply.border_width};
    });
}

/// A shape on the root window. The server's rectangles do not overlap.
PixelRegion regionIn(xcb_shape_get_rectangles_reply_t const& reply, SurveyedWindow const& window)
{
    std::vector<PixelRect> parts;
    auto const* first = xcb_shape_get_rectangles_rectangles(&reply);
    auto const count = xcb_shape_get_rectangles_rectangles_length(&reply);
    for (auto const& part : std::span(first, static_cast<std::size_t>(count)))
        parts.push_back({window.area.x + window.border + part.x, window.area.y + window.border + part.y,
                         part.width, part.height});
    return PixelRegion::fromDisjoint(std::move(parts));
}

/// After askGeometry(), whose answer these need.
void askShapes(SurveyQuestions& questions, SurveyedWindow& window)
{
    if (!questions.server().capabilities().shape)
        return;
    auto* const x = questions.server().get();
    questions.ask(xcb_shape_get_rectangles(x, window.id, XCB_SHAPE_SK_INPUT), xcb_shape_get_rectangles_reply,
                  [&window](xcb_shape_get_rectangles_reply_t const& reply) {
                      PixelRegion const input = regionIn(reply, window);
                      window.emptyInputShape = input.isEmpty();
                      if (input.all() != std::vector<PixelRect>{window.area})
                          window.input = input;
                  });
    questions.ask(
        xcb_shape_query_extents(x, window.id), xcb_shape_query_extents_reply,
        [&window](xcb_shape_query_extents_reply_t const& reply) { window.shaped = reply.bounding_shaped; });
    questions.ask(xcb_shape_get_rectangles(x, window.id, XCB_SHAPE_SK_BOUNDING),
                  xcb_shape_get_rectangles_reply, [&window](xcb_shape_get_rectangles_reply_t const& reply) {
                      if (window.shaped)
                          window.shape = regionIn(reply, window);
                  });
}

} // namespace

SurveyChildren surveyTopLevels(SurveyQuestions& questions, WindowSurvey& survey)
{
    dropHidden(questions, survey);
    SurveyChildren children(survey.windows.size());
    for (std::size_t i = 0; i < survey.windows.size(); ++i) {
        SurveyedWindow& window = survey.windows[i];
        std::vector<std::uint32_t>& inside = children[i];
        window.client.id = window.id;
        askGeometry(questions, window);
        askShapes(questions, window);
        questions.children(window.id,
                           [&inside](std::vector<std::uint32_t> found) { inside = std::move(found); });
        questions.property(window.id, questions.atoms().wmState, 0,
                           [&window](SurveyQuestions::Property const& reply) {
                               window.managed = reply.type != XCB_ATOM_NONE;
                           });
    }
    questions.run();
    return children;
}

} // namespace zelvo
