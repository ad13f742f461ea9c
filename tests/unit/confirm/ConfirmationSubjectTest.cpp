#include "confirm/ConfirmationSubject.h"

#include "base/LocalizedTexts.h"

#include <gtest/gtest.h>

#include <set>
#include <vector>

namespace zelvo {
namespace {

using S = ConfirmationSubject;

S const shell{S::ShellCommand{"rm -rf /tmp/x\nls"}};
S const fileDelete{S::FileDelete{"/home/me/a b.txt"}};
S const fileWrite{S::FileWrite{"/home/me/ä.txt"}};
S const openUrl{S::OpenUrl{"mailto:a@b?subject=%20"}};
S const submitButton{S::SubmitButton{"Send"}};
S const dialogButton{S::DialogButton{.title = "OK", .app = "Finder"}};
S const keyShortcut{S::KeyShortcut{.keys = "cmd+s", .app = "Mail", .meaning = "save"}};

TEST(ConfirmationSubject, hasATitleForEachKind)
{
    EXPECT_EQ(shell.title(), localized("confirm.title.shell"));
    EXPECT_EQ(fileDelete.title(), localized("confirm.title.fileDelete"));
    EXPECT_EQ(fileWrite.title(), localized("confirm.title.fileWrite"));
    EXPECT_EQ(openUrl.title(), localized("confirm.title.openUrl"));
    EXPECT_EQ(submitButton.title(), localized("confirm.title.submitButton"));
    EXPECT_EQ(dialogButton.title(), localized("confirm.title.dialogButton"));
    EXPECT_EQ(keyShortcut.title(), localized("confirm.title.keyShortcut", {"save"}));
}

TEST(ConfirmationSubject, namesTheMeaningOfAShortcutInItsTitle)
{
    EXPECT_NE(keyShortcut.title().find("save"), std::string::npos);
}

TEST(ConfirmationSubject, hasADifferentTitleForEachKind)
{
    std::set<std::string> titles;
    for (S const& subject : {shell, fileDelete, fileWrite, openUrl, submitButton, dialogButton, keyShortcut})
        titles.insert(subject.title());

    EXPECT_EQ(titles.size(), 7u);
}

TEST(ConfirmationSubject, showsCommandsPathsAndAddressesAsTheyStand)
{
    EXPECT_EQ(shell.detail(), "rm -rf /tmp/x\nls");
    EXPECT_EQ(fileDelete.detail(), "/home/me/a b.txt");
    EXPECT_EQ(fileWrite.detail(), "/home/me/ä.txt");
    EXPECT_EQ(openUrl.detail(), "mailto:a@b?subject=%20");
}

TEST(ConfirmationSubject, quotesTheTitlesOfButtons)
{
    EXPECT_EQ(submitButton.detail(), "\u00ABSend\u00BB");
    EXPECT_EQ(dialogButton.detail(), "Finder: \u00ABOK\u00BB");
}

TEST(ConfirmationSubject, describesApplicationKeysAndMeaningOfAShortcut)
{
    EXPECT_EQ(keyShortcut.detail(), "Mail: cmd+s \u2014 save");
}

TEST(ConfirmationSubject, keepsItsFormWithEmptyTexts)
{
    EXPECT_EQ(S{S::ShellCommand{}}.detail(), "");
    EXPECT_EQ(S{S::SubmitButton{}}.detail(), "\u00AB\u00BB");
    EXPECT_EQ(S{S::DialogButton{}}.detail(), ": \u00AB\u00BB");
    EXPECT_EQ(S{S::KeyShortcut{}}.detail(), ":  \u2014 ");
}

TEST(ConfirmationSubject, hasOneAllowanceKeyForEachKind)
{
    EXPECT_EQ(shell.allowanceKey(), "shell");
    EXPECT_EQ(fileDelete.allowanceKey(), "file_delete");
    EXPECT_EQ(fileWrite.allowanceKey(), "file_write");
    EXPECT_EQ(openUrl.allowanceKey(), "open_url");
    EXPECT_EQ(submitButton.allowanceKey(), "submit_button");
    EXPECT_EQ(dialogButton.allowanceKey(), "dialog_button");
    EXPECT_EQ(keyShortcut.allowanceKey(), "key_shortcut");
}

TEST(ConfirmationSubject, ignoresItsTextsInTheAllowanceKey)
{
    EXPECT_EQ(S{S::ShellCommand{"another"}}.allowanceKey(), shell.allowanceKey());
    EXPECT_EQ((S{S::DialogButton{"Cancel", "Mail"}}.allowanceKey()), dialogButton.allowanceKey());
}

TEST(ConfirmationSubject, isEqualWhenKindAndAllTextsAre)
{
    EXPECT_EQ(keyShortcut, (S{S::KeyShortcut{"cmd+s", "Mail", "save"}}));
    EXPECT_NE(keyShortcut, (S{S::KeyShortcut{"cmd+s", "Mail", "send"}}));
    EXPECT_NE(keyShortcut, (S{S::KeyShortcut{"cmd+s", "Pages", "save"}}));
    EXPECT_NE(S{S::FileDelete{"/a"}}, S{S::FileWrite{"/a"}});
}

} // namespace
} // namespace zelvo
