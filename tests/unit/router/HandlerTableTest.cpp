#include "fakes/Run.h"
#include "router/ActionHandlers.h"
#include "router/ApplicationHandlers.h"
#include "router/ObservationHandlers.h"
#include "router/ShellHandlers.h"
#include "router/SystemHandlers.h"
#include "router/TransferHandlers.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

/// Answers one method that is another family's already.
struct Doubled {
    Task<json::value> answer(Admission admission) { co_return json::value(admission.frame.id); }
    static constexpr std::array<HandlerRow<Doubled>, 1> rows = {{{"shell.run", &Doubled::answer}}};
};

// A missing handler and a second one do not compile in the router. A name that is not served compiles
// nowhere.
static_assert(haveOneHandlerForEachMethod<ObservationHandlers,
                                          ActionHandlers,
                                          ApplicationHandlers,
                                          ShellHandlers,
                                          TransferHandlers,
                                          SystemHandlers>());
static_assert(!haveOneHandlerForEachMethod<ObservationHandlers,
                                           ActionHandlers,
                                           ApplicationHandlers,
                                           TransferHandlers,
                                           SystemHandlers>());
static_assert(!haveOneHandlerForEachMethod<ObservationHandlers,
                                           ActionHandlers,
                                           ApplicationHandlers,
                                           ShellHandlers,
                                           TransferHandlers,
                                           SystemHandlers,
                                           Doubled>());

template <char const* name>
concept IsServed = requires { typename std::integral_constant<std::size_t, ServedMethod(name).name.size()>; };

constexpr char known[] = "shell.run";
constexpr char unknown[] = "no.such";
constexpr char unserved[] = "files.upload.chunk";
static_assert(IsServed<known>);
static_assert(!IsServed<unknown>);
static_assert(!IsServed<unserved>);

TEST(HandlerTable, callsTheHandlerOfItsMethod)
{
    Doubled family;
    HandlerTable table;
    addHandlers(table, family);
    Admission admission;
    admission.frame.id = "7";

    ASSERT_EQ(table.size(), 1u);
    asio::io_context io;
    EXPECT_EQ(run(io, table.at("shell.run")(std::move(admission))), json::value("7"));
}

} // namespace
} // namespace zelvo
