#include "confirm/ConfirmationPolicy.h"

#include <gtest/gtest.h>

#include <vector>

namespace zelvo {
namespace {

using S = ConfirmationSubject;

std::optional<ConfirmationPolicy> decoded(std::string_view text)
{
    return ConfirmationPolicy::fromJson(*parseJson(text));
}

/// The kinds of subject that a policy wants confirmed, by allowance key. The URL is not an HTTP one.
std::vector<std::string> asksFor(ConfirmationPolicy const& policy)
{
    std::vector<std::string> kinds;
    for (S const& subject : {S{S::ShellCommand{"ls"}}, S{S::FileDelete{"/a"}}, S{S::FileWrite{"/a"}},
                             S{S::OpenUrl{"mailto:a"}}, S{S::SubmitButton{"Send"}},
                             S{S::DialogButton{"OK", "Mail"}}, S{S::KeyShortcut{"cmd+s", "Mail", "save"}}})
        if (policy.requiresConfirmation(subject))
            kinds.emplace_back(subject.allowanceKey());
    return kinds;
}

ConfirmationPolicy nothing()
{
    return {.confirmShell = false,
            .confirmFileDelete = false,
            .confirmFileWrite = false,
            .confirmNonHttpUrl = false,
            .confirmDangerousActions = false,
            .confirmDialogActions = false};
}

bool asksForUrl(std::string url)
{
    return ConfirmationPolicy().requiresConfirmation(S{S::OpenUrl{std::move(url)}});
}

using Kinds = std::vector<std::string>;

TEST(ConfirmationPolicy, takesANullForAbsent)
{
    auto const policy = ConfirmationPolicy::fromJson(*parseJson(
        R"({"version":2,"confirmShell":null,"confirmDangerousActions":null,"confirmSubmitButtons":false})"));
    ASSERT_TRUE(policy);
    EXPECT_TRUE(policy->confirmShell);
    EXPECT_FALSE(policy->confirmDangerousActions);
    EXPECT_TRUE(ConfirmationPolicy::fromJson(*parseJson(R"({"version":null})")));
}

TEST(ConfirmationPolicy, asksForEverythingButFileWritesWhenNew)
{
    EXPECT_EQ(asksFor({}),
              (Kinds{"shell", "file_delete", "open_url", "submit_button", "dialog_button", "key_shortcut"}));
    EXPECT_EQ(ConfirmationPolicy().version, 2);
}

TEST(ConfirmationPolicy, asksByTheSwitchOfEachKind)
{
    EXPECT_EQ(asksFor(nothing()), Kinds{});

    ConfirmationPolicy policy = nothing();
    policy.confirmShell = true;
    EXPECT_EQ(asksFor(policy), Kinds{"shell"});

    policy = nothing();
    policy.confirmFileDelete = true;
    EXPECT_EQ(asksFor(policy), Kinds{"file_delete"});

    policy = nothing();
    policy.confirmFileWrite = true;
    EXPECT_EQ(asksFor(policy), Kinds{"file_write"});

    policy = nothing();
    policy.confirmNonHttpUrl = true;
    EXPECT_EQ(asksFor(policy), Kinds{"open_url"});

    policy = nothing();
    policy.confirmDangerousActions = true;
    EXPECT_EQ(asksFor(policy), (Kinds{"submit_button", "key_shortcut"}));

    policy = nothing();
    policy.confirmDialogActions = true;
    EXPECT_EQ(asksFor(policy), Kinds{"dialog_button"});
}

TEST(ConfirmationPolicy, opensWebAddressesWithoutAsking)
{
    for (std::string const url :
         {"http://x", "https://x", "HTTPS://x", "hTTp://example.com:8080/a?b=c#d", "http:"})
        EXPECT_FALSE(asksForUrl(url)) << url;
}

TEST(ConfirmationPolicy, asksForEveryOtherScheme)
{
    for (std::string const url : {"mailto:a", "file:///etc/passwd", "zelvo://link?token=T", "httpx://x",
                                  "ftp://x", "javascript:alert(1)", "x-http:https://x"})
        EXPECT_TRUE(asksForUrl(url)) << url;
}

TEST(ConfirmationPolicy, asksForWhatIsNoAddressOrHasNoScheme)
{
    for (std::string const url : {"", "example.com", "//example.com/a", "/etc/passwd", "http://[",
                                  "ht tp://x", "://x", " https://x", "https://x\n"})
        EXPECT_TRUE(asksForUrl(url)) << url;
}

TEST(ConfirmationPolicy, opensEverythingWithTheSwitchOff)
{
    for (std::string const url : {"mailto:a", "https://x", "http://[", ""})
        EXPECT_FALSE(nothing().requiresConfirmation(S{S::OpenUrl{url}})) << url;
}

TEST(ConfirmationPolicy, writesExactlySevenKeysInOrder)
{
    EXPECT_EQ(
        writeJson(ConfirmationPolicy().toJson()),
        R"({"confirmShell":true,"confirmFileDelete":true,"confirmFileWrite":false,)"
        R"("confirmNonHttpUrl":true,"confirmDangerousActions":true,"confirmDialogActions":true,"version":2})");
    EXPECT_EQ(
        writeJson(nothing().toJson()),
        R"({"confirmShell":false,"confirmFileDelete":false,"confirmFileWrite":false,)"
        R"("confirmNonHttpUrl":false,"confirmDangerousActions":false,"confirmDialogActions":false,"version":2})");
}

TEST(ConfirmationPolicy, readsWhatItWrote)
{
    ConfirmationPolicy policy = nothing();
    policy.confirmFileWrite = true;

    EXPECT_EQ(ConfirmationPolicy::fromJson(policy.toJson()), policy);
    EXPECT_EQ(ConfirmationPolicy::fromJson(nothing().toJson()), nothing());
}

TEST(ConfirmationPolicy, readsNoKeysAsANewPolicy)
{
    EXPECT_EQ(decoded("{}"), ConfirmationPolicy());
}

TEST(ConfirmationPolicy, turnsTheActionSwitchesOnInAnOlderPolicy)
{
    for (std::string const version : {R"("version":1,)", R"("version":0,)", R"("version":-3,)", ""}) {
        auto const policy =
            decoded("{" + version + R"("confirmDangerousActions":false,"confirmDialogActions":false})");
        EXPECT_EQ(policy, ConfirmationPolicy()) << version;
    }
}

TEST(ConfirmationPolicy, turnsTheActionSwitchesOnInAnOlderPolicyWithFormerKeys)
{
    EXPECT_EQ(decoded(R"({"version":1,"confirmSubmitButtons":false,"confirmDialogButtons":false})"),
              ConfirmationPolicy());
}

TEST(ConfirmationPolicy, keepsTheOtherSwitchesOfAnOlderPolicy)
{
    auto const policy = decoded(
        R"({"confirmShell":false,"confirmFileDelete":false,"confirmFileWrite":true,"confirmNonHttpUrl":false})");

    EXPECT_EQ(policy, (ConfirmationPolicy{.confirmShell = false,
                                          .confirmFileDelete = false,
                                          .confirmFileWrite = true,
                                          .confirmNonHttpUrl = false}));
}

TEST(ConfirmationPolicy, keepsTheActionSwitchesOfAPresentPolicy)
{
    auto const policy = decoded(R"({"version":2,"confirmDangerousActions":false})");

    EXPECT_EQ(policy, ConfirmationPolicy{.confirmDangerousActions = false});
}

TEST(ConfirmationPolicy, readsTheFormerKeysWhereTheNewOnesAreAbsent)
{
    auto const policy = decoded(R"({"version":2,"confirmSubmitButtons":false,"confirmDialogButtons":false})");

    EXPECT_EQ(policy, (ConfirmationPolicy{.confirmDangerousActions = false, .confirmDialogActions = false}));
}

TEST(ConfirmationPolicy, prefersTheNewKeys)
{
    EXPECT_EQ(decoded(R"({"version":2,"confirmDangerousActions":true,"confirmSubmitButtons":false})"),
              ConfirmationPolicy());
    EXPECT_EQ(decoded(R"({"version":2,"confirmDialogActions":true,"confirmDialogButtons":false})"),
              ConfirmationPolicy());
}

TEST(ConfirmationPolicy, doesNotLookAtAFormerKeyBesideTheNewOne)
{
    EXPECT_EQ(decoded(R"({"version":2,"confirmDangerousActions":false,"confirmSubmitButtons":"no"})"),
              ConfirmationPolicy{.confirmDangerousActions = false});
}

TEST(ConfirmationPolicy, bringsALaterPolicyDownToItsOwnVersion)
{
    auto const policy = decoded(R"({"version":5,"confirmDialogActions":false,"confirmTelepathy":true})");

    ASSERT_TRUE(policy);
    EXPECT_EQ(policy->toJson().at("version"), 2);
    EXPECT_FALSE(policy->confirmDialogActions);
    EXPECT_FALSE(policy->toJson().contains("confirmTelepathy"));
}

TEST(ConfirmationPolicy, failsAsAWholeForAKeyOfTheWrongType)
{
    for (std::string const key :
         {"confirmShell", "confirmFileDelete", "confirmFileWrite", "confirmNonHttpUrl",
          "confirmDangerousActions", "confirmDialogActions", "confirmSubmitButtons", "confirmDialogButtons"})
        for (std::string const value : {"1", R"("true")", "[]", "{}", "0.5"})
            EXPECT_FALSE(decoded(R"({"version":2,")" + key + "\":" + value + '}')) << key << ' ' << value;
}

TEST(ConfirmationPolicy, failsAsAWholeForAVersionThatIsNoInteger)
{
    for (std::string const value : {"true", R"("2")", "2.5", "[2]", "1e30"})
        EXPECT_FALSE(decoded(R"({"version":)" + value + '}')) << value;

    EXPECT_TRUE(decoded(R"({"version":2.0})"));
}

TEST(ConfirmationPolicy, failsForWhatIsNoObject)
{
    for (std::string const text : {"[]", "null", "true", "2", R"("{}")"})
        EXPECT_FALSE(decoded(text)) << text;
}

} // namespace
} // namespace zelvo
