#include "desktop/input/InputFixture.h"
#include "desktop/input/SampleTexts.h"
#include "desktop/input/TextField.h"

#include <gtest/gtest.h>

#include <sched.h>
#include <sys/resource.h>

namespace zelvo::test {
namespace {

/// A terminal that gets a twentieth of its processor, because two busy processes share it. It answers no
/// pings.
class SlowField : public testing::Test {
protected:
    SlowField()
    {
        int const processor = ::sched_getcpu();
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(processor, &one);
        ::sched_setaffinity(field.pid(), sizeof one, &one);
        ::setpriority(PRIO_PROCESS, static_cast<id_t>(field.pid()), 10);
        for (int i = 0; i < 2; ++i)
            fixture.desktop.start(
                {"taskset", "-c", std::to_string(processor), "sh", "-c", "while :; do :; done"});
    }

    InputFixture fixture;
    TextField field{fixture.desktop, FieldKind::xterm};
};

TEST_F(SlowField, getsTextOfMoreCharactersThanThereAreKeysFor)
{
    std::string const keymap = fixture.keymap();

    fixture.typeText(longText());

    EXPECT_EQ(field.valueAfter(longText()), longText());
    EXPECT_EQ(fixture.keymap(), keymap);
}

} // namespace
} // namespace zelvo::test
