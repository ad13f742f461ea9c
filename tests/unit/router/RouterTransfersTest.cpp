#include "base/Base64.h"
#include "unit/router/RouterHarness.h"

#include <gmock/gmock.h>

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class RouterTransfersTest : public RouterHarness {
protected:
    void askBeforeWriting()
    {
        ConfirmationPolicy policy;
        policy.confirmFileWrite = true;
        state.grant({.id = "c",
                     .platformName = "Acme",
                     .scopes = {allScopes.begin(), allScopes.end()},
                     .policy = policy});
    }
    void hide(std::string const& bundleId) { run(platform.io, hiddenApps.add(bundleId)); }
    std::string clipboardText()
    {
        json::object const reply = call("clipboard.get");
        return code(reply).empty() ? std::string(reply.at("result").at("text").as_string()) : code(reply);
    }
};

TEST_F(RouterTransfersTest, uploadWritesTheDecodedBytes)
{
    EXPECT_EQ(call("files.upload.begin", R"({"path": "/a/b", "data": "aGVsbG8="})").at("result"),
              (json::object{{"ok", true}, {"sizeBytes", 5}}));
    EXPECT_THAT(files.writes, ElementsAre(Pair("/a/b", "hello")));
    EXPECT_THAT(confirmations.questions, IsEmpty());
}

TEST_F(RouterTransfersTest, uploadOfNothingWritesAnEmptyFile)
{
    EXPECT_EQ(call("files.upload.begin", R"({"path": "/a", "data": ""})").at("result"),
              (json::object{{"ok", true}, {"sizeBytes", 0}}));
    EXPECT_THAT(files.writes, ElementsAre(Pair("/a", "")));
}

TEST_F(RouterTransfersTest, uploadWithoutPathOrBase64IsAnInvalidRequest)
{
    for (char const* const params :
         {"{}", R"({"path": "/a"})", R"({"data": "aGVsbG8="})", R"({"path": 1, "data": ""})",
          R"({"path": "/a", "data": 1})", R"({"path": "/a", "data": null})",
          R"({"path": "/a", "data": ["aGVsbG8="]})", R"({"path": "/a", "data": "aGVsbG8"})",
          R"({"path": "/a", "data": "aGVs bG8="})", R"({"path": "/a", "data": "a-_="})",
          R"({"path": "/a", "data": "=aaa"})"})
        EXPECT_EQ(code(call("files.upload.begin", params)), "invalid_request") << params;
    EXPECT_THAT(files.writes, IsEmpty());
}

TEST_F(RouterTransfersTest, uploadAsksForAMinuteWhereThePolicyWantsIt)
{
    askBeforeWriting();
    call("files.upload.begin", R"({"path": "/a/b", "data": "", "confirmationTimeoutMs": 5})");
    ConfirmationSubject const subject{ConfirmationSubject::FileWrite{"/a/b"}};
    EXPECT_THAT(confirmations.questions, ElementsAre(FakeConfirming::Question{subject, "Acme", 60'000}));
    EXPECT_EQ(files.writes.size(), 1U);
}

TEST_F(RouterTransfersTest, uploadWritesNothingAfterANo)
{
    askBeforeWriting();
    confirmations.decision = ConfirmationDecision::denied();
    EXPECT_EQ(code(call("files.upload.begin", R"({"path": "/a", "data": ""})")), "denied_by_user");
    confirmations.decision = ConfirmationDecision::timedOut();
    EXPECT_EQ(code(call("files.upload.begin", R"({"path": "/a", "data": ""})")), "confirmation_timeout");
    EXPECT_THAT(files.writes, IsEmpty());
}

TEST_F(RouterTransfersTest, downloadGivesTheBytesInBase64)
{
    files.contents["/a"] = std::string("\0\xff\n", 3);
    EXPECT_EQ(call("files.download", R"({"path": "/a"})").at("result"),
              (json::object{{"mime", "application/octet-stream"}, {"data", "AP8K"}}));
    EXPECT_THAT(confirmations.questions, IsEmpty());
}

TEST_F(RouterTransfersTest, downloadOfAnEmptyFileIsAnEmptyText)
{
    EXPECT_EQ(call("files.download", R"({"path": "/a"})").at("result").at("data"), "");
}

TEST_F(RouterTransfersTest, downloadIsTheSameAsEncodingForAnySize)
{
    for (std::size_t const size : {1U, 2U, 3U, 4U, 3U << 20, (3U << 20) + 1, (6U << 20) + 2}) {
        std::string const content(size, 'z');
        files.contents["/a"] = content;
        auto const* const bytes = reinterpret_cast<unsigned char const*>(content.data());
        EXPECT_EQ(call("files.download", R"({"path": "/a"})").at("result").at("data").as_string(),
                  base64::encode({bytes, size}))
            << size;
    }
}

TEST_F(RouterTransfersTest, downloadWithoutAPathIsAnInvalidRequest)
{
    for (char const* const params : {"{}", R"({"path": 1})", R"({"path": null})", R"({"path": {}})"})
        EXPECT_EQ(code(call("files.download", params)), "invalid_request") << params;
    EXPECT_THAT(files.readPaths, IsEmpty());
}

TEST_F(RouterTransfersTest, failuresOfFilesPassThrough)
{
    files.failure = std::make_exception_ptr(AgentError::scopeDenied);
    EXPECT_EQ(code(call("files.download", R"({"path": "/a"})")), "scope_denied");
    EXPECT_EQ(code(call("files.upload.begin", R"({"path": "/a", "data": ""})")), "scope_denied");
    files.failure = std::make_exception_ptr(FileFailure(EACCES));
    EXPECT_EQ(code(call("files.download", R"({"path": "/a"})")), "internal_error");
}

TEST_F(RouterTransfersTest, clipboardGivesItsText)
{
    platform.clipboard.content = "copied";
    EXPECT_EQ(call("clipboard.get").at("result"), (json::object{{"text", "copied"}}));
}

TEST_F(RouterTransfersTest, anEmptyClipboardIsAnEmptyText)
{
    EXPECT_EQ(call("clipboard.get").at("result"), (json::object{{"text", ""}}));
}

TEST_F(RouterTransfersTest, clipboardOfAHiddenApplicationIsNotShown)
{
    hide("org.secret");
    front("org.secret", "Secret");
    platform.clipboard.copy("password"); // Nobody has looked since.
    EXPECT_EQ(clipboardText(), "hidden_app_active");
    front("org.editor", "Editor");
    EXPECT_EQ(clipboardText(), "hidden_app_active");
    platform.clipboard.copy("text");
    EXPECT_EQ(clipboardText(), "text");
}

TEST_F(RouterTransfersTest, anApplicationHiddenAfterItCopiedIsNotShown)
{
    front("org.secret", "Secret");
    platform.clipboard.copy("password");
    EXPECT_EQ(clipboardText(), "password");
    hide("org.secret");
    EXPECT_EQ(clipboardText(), "hidden_app_active");
}

TEST_F(RouterTransfersTest, clipboardOfAnUnknownSourcePasses)
{
    hide("org.secret");
    platform.desktop.front.reset();
    platform.clipboard.copy("text");
    EXPECT_EQ(clipboardText(), "text");
}

TEST_F(RouterTransfersTest, whatAHiddenApplicationCopiesWhileTheTextIsFetchedIsNotShown)
{
    hide("org.secret");
    front("org.editor", "Editor");
    platform.clipboard.onText = [&] {
        front("org.secret", "Secret");
        platform.clipboard.copy("password");
    };
    EXPECT_EQ(clipboardText(), "hidden_app_active");
}

TEST_F(RouterTransfersTest, theClipboardOfAHiddenOwnerIsNotShown)
{
    hide("org.secret");
    front("org.editor", "Editor");
    ClipboardChange by;
    by.owner.names = {{"org.secret"}};
    platform.clipboard.copy("password", by);
    EXPECT_EQ(clipboardText(), "hidden_app_active");
}

TEST_F(RouterTransfersTest, aHiddenApplicationThatCopiesOnlyWhileTheTextIsFetchedIsNotShown)
{
    hide("org.secret");
    front("org.editor", "Editor");
    platform.clipboard.onText = [&] {
        ClipboardChange by{.owner = {.names = {{"org.secret"}}, .localizedName = ""}};
        platform.clipboard.copy("password", by);
        by.owner.names = {{"org.editor"}};
        by.owner.isRegular = true;
        platform.clipboard.copy("text", by);
    };
    EXPECT_EQ(clipboardText(), "hidden_app_active");
    platform.clipboard.onText = {};
    EXPECT_EQ(clipboardText(), "text");
}

TEST_F(RouterTransfersTest, clipboardTakesAText)
{
    EXPECT_EQ(call("clipboard.set", R"({"text": "от агента"})").at("result"), (json::object{{"ok", true}}));
    EXPECT_EQ(platform.clipboard.content, "от агента");
}

TEST_F(RouterTransfersTest, clipboardTakesAnEmptyText)
{
    platform.clipboard.content = "before";
    EXPECT_EQ(code(call("clipboard.set", R"({"text": ""})")), "");
    EXPECT_EQ(platform.clipboard.content, "");
}

TEST_F(RouterTransfersTest, clipboardWithoutATextIsAnInvalidRequest)
{
    platform.clipboard.content = "before";
    for (char const* const params : {"{}", R"({"text": 1})", R"({"text": null})", R"({"text": ["a"]})"})
        EXPECT_EQ(code(call("clipboard.set", params)), "invalid_request") << params;
    EXPECT_EQ(platform.clipboard.content, "before");
}

TEST_F(RouterTransfersTest, aClipboardThatTakesNothingIsAFailure)
{
    platform.clipboard.refuses = true;
    EXPECT_EQ(code(call("clipboard.set", R"({"text": "a"})")), "internal_error");
}

} // namespace
} // namespace zelvo
