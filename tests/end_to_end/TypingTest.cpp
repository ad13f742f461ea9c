#include "desktop/input/TextField.h"
#include "end_to_end/EndToEnd.h"

namespace zelvo::test {
namespace {

// Latin, Cyrillic, Chinese, Japanese, Korean, and emoji of one, two and many code points.
constexpr char const* sample = "Hello, World! Привет, мир. 你好世界 こんにちは 안녕 😀 👍🏽 "
                               "👩‍👩‍👧 "
                               "€ßñ "
                               "{[~]}";

class TypingEndToEnd : public EndToEnd, public testing::WithParamInterface<FieldKind> {};

TEST_P(TypingEndToEnd, arrivesAsItWasSent)
{
    std::string const connection = startUnattended(); // First: it makes applications readable.
    TextField const field(desktop, GetParam());

    json::array const actions{json::object{{"type", "type"}, {"text", sample}}};
    auto const answer = gateway.command(connection, "actions.perform", {{"actions", actions}});

    EXPECT_EQ(answer.status, 200) << writeJson(answer.body);
    EXPECT_EQ(field.valueAfter(sample), sample);
}

std::string nameOf(testing::TestParamInfo<FieldKind> const& info)
{
    switch (info.param) {
    case FieldKind::gtk:
        return "gtk";
    case FieldKind::qt:
        return "qt";
    case FieldKind::xterm:
        return "xterm";
    case FieldKind::chromium:
        return "chromium";
    }
    return "unknown";
}

#ifdef ZELVO_TEST_CHROMIUM
INSTANTIATE_TEST_SUITE_P(Fields, TypingEndToEnd, testing::Values(FieldKind::chromium), nameOf);
#else
INSTANTIATE_TEST_SUITE_P(Fields,
                         TypingEndToEnd,
                         testing::Values(FieldKind::gtk, FieldKind::qt, FieldKind::xterm),
                         nameOf);
#endif

} // namespace
} // namespace zelvo::test
