#include "confirm/SubmitButtonHeuristic.h"

#include "base/LocalizedTexts.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

using SubmitButtonHeuristic::classify;
using SubmitButtonHeuristic::humanLabel;
using SubmitButtonHeuristic::matches;
using SubmitButtonHeuristic::normalize;

using Subject = std::optional<ConfirmationSubject>;

ProbedElement element(std::string role, std::optional<std::string> title = {})
{
    ProbedElement made;
    made.role = std::move(role);
    made.title = std::move(title);
    return made;
}

ProbedElement button(std::optional<std::string> title = {})
{
    return element("AXButton", std::move(title));
}

ProbedElement sheetButton(std::optional<std::string> title = {})
{
    ProbedElement made = button(std::move(title));
    made.isInSheet = true;
    made.appName = "Notes";
    return made;
}

Subject submits(std::string title)
{
    return ConfirmationSubject{ConfirmationSubject::SubmitButton{std::move(title)}};
}

Subject pressesInDialog(std::string title, std::string app = "Notes")
{
    return ConfirmationSubject{ConfirmationSubject::DialogButton{std::move(title), std::move(app)}};
}

TEST(SubmitButtonHeuristic, takesCamelCaseApart)
{
    EXPECT_EQ(normalize("sendMessage"), "send message");
    EXPECT_EQ(normalize("SendButton"), "send button");
    EXPECT_EQ(normalize("URLField"), "urlfield");
    EXPECT_EQ(normalize("a1B"), "a1 b");
    EXPECT_EQ(normalize("send Message"), "send message");
    EXPECT_EQ(normalize("отправитьПисьмо"), "отправить письмо");
}

TEST(SubmitButtonHeuristic, keepsOnlyLettersAndNumbers)
{
    EXPECT_EQ(normalize("btn_send"), "btn send");
    EXPECT_EQ(normalize("  Pay -- 12,50 €!  "), "pay 12 50");
    EXPECT_EQ(normalize("!!!"), "");
    EXPECT_EQ(normalize(""), "");
    EXPECT_EQ(normalize("送信 Ⅳ ½"), "送信 ⅳ ½");
    EXPECT_EQ(normalize("a\tb\nc\xC2\xA0"
                        "d"),
              "a b c d");
}

TEST(SubmitButtonHeuristic, lowercasesWithTheWholeOfUnicode)
{
    EXPECT_EQ(normalize("ОПЛАТИТЬ"), "оплатить");
    EXPECT_EQ(normalize("STRASSE ÄÖ"), "strasse äö");
    EXPECT_EQ(normalize("ΟΔΟΣ"), "οδος"); // Sigma has a special form at the end of a word.
}

TEST(SubmitButtonHeuristic, findsAWholeWord)
{
    for (char const* const text : {"Send", "Send now", "message send button", "btn_send", "sendMessage",
                                   "Reply", "Checkout (2)", "Оплатить заказ", "ПЕРЕВЕСТИ"})
        EXPECT_TRUE(matches(text)) << text;
    for (char const* const text : {"Resend", "Sender", "", "!!!", "Payment", "Отправитель", "SENDMAIL"})
        EXPECT_FALSE(matches(text)) << text;
}

TEST(SubmitButtonHeuristic, knowsEachWord)
{
    for (char const* const word :
         {"send",        "submit",    "pay",          "buy",      "order",    "delete",
          "confirm",     "purchase",  "reply",        "post",     "publish",  "transfer",
          "checkout",    "отправить", "оплатить",     "купить",   "заказать", "удалить",
          "подтвердить", "ответить",  "опубликовать", "перевести"})
        EXPECT_TRUE(matches(word)) << word;
}

TEST(SubmitButtonHeuristic, prefersALabelForPeople)
{
    EXPECT_EQ(humanLabel({}), std::nullopt);
    EXPECT_EQ(humanLabel({"send_button", "Send it"}), "Send it");
    EXPECT_EQ(humanLabel({"postButton", "Post"}), "Post");
    EXPECT_EQ(humanLabel({"send_button", "postButton"}), "send_button");
    EXPECT_EQ(humanLabel({" Post button "}), " Post button ");
}

TEST(SubmitButtonHeuristic, passesATextThatSaysSend)
{
    EXPECT_EQ(classify(element("AXStaticText", "Send")), std::nullopt);
    EXPECT_EQ(classify(element("", "Send")), std::nullopt);
    EXPECT_EQ(classify(element("AXTextField", "Send")), std::nullopt);
}

TEST(SubmitButtonHeuristic, judgesEveryRoleThatIsPressed)
{
    for (char const* const role :
         {"AXButton", "AXLink", "AXMenuItem", "AXMenuButton", "AXCheckBox", "AXRadioButton"})
        EXPECT_EQ(classify(element(role, "Delete")), submits("Delete")) << role;
}

TEST(SubmitButtonHeuristic, asksForAButtonThatSends)
{
    EXPECT_EQ(classify(button("Send message")), submits("Send message"));
    EXPECT_EQ(classify(button("Resend")), std::nullopt);
}

TEST(SubmitButtonHeuristic, asksForALinkThatBuys)
{
    ProbedElement link = element("AXLink", "Buy");
    link.help = "Opens checkout";
    EXPECT_EQ(classify(link), submits("Buy"));
    link.title = "Basket";
    EXPECT_EQ(classify(link), submits("Basket"));
}

TEST(SubmitButtonHeuristic, readsCyrillicCapitals)
{
    EXPECT_EQ(classify(button("Отправить")), submits("Отправить"));
}

TEST(SubmitButtonHeuristic, showsTheIdentifierWhereThereIsNothingElse)
{
    ProbedElement nameless = button();
    nameless.identifier = "send_button";
    EXPECT_EQ(classify(nameless), submits("send_button"));
}

TEST(SubmitButtonHeuristic, showsTheTitleBesideAnIdentifier)
{
    ProbedElement post = button("Post");
    post.identifier = "postButton";
    EXPECT_EQ(classify(post), submits("Post"));
}

TEST(SubmitButtonHeuristic, asksForAnUnlabelledButtonOnlyInADialog)
{
    EXPECT_EQ(classify(button()), std::nullopt);
    EXPECT_EQ(classify(sheetButton()), pressesInDialog(localized("confirm.unnamedButton")));
}

TEST(SubmitButtonHeuristic, passesTheWaysOutOfADialog)
{
    EXPECT_EQ(classify(sheetButton("Cancel")), std::nullopt);
    EXPECT_EQ(classify(sheetButton("Close window")), std::nullopt);
    ProbedElement notNow = button("Not now");
    notNow.windowSubrole = "AXDialog";
    EXPECT_EQ(classify(notNow), std::nullopt);
    for (char const* const title : {"cancel", "close", "dismiss", "not now", "later", "back", "отмена",
                                    "отменить", "закрыть", "не сейчас", "назад", "Назад к списку"})
        EXPECT_EQ(classify(sheetButton(title)), std::nullopt) << title;
}

TEST(SubmitButtonHeuristic, asksForEveryOtherButtonOfADialog)
{
    EXPECT_EQ(classify(sheetButton("Don't save")), pressesInDialog("Don't save"));
    EXPECT_EQ(classify(sheetButton("Do not cancel")), pressesInDialog("Do not cancel"));
    EXPECT_EQ(classify(sheetButton("Backup")), pressesInDialog("Backup"));
    EXPECT_EQ(classify(element("AXStaticText", "OK")), std::nullopt);
}

TEST(SubmitButtonHeuristic, takesAnyLabelThatSaysCancelAsAWayOut)
{
    ProbedElement pressed = sheetButton("Delete");
    pressed.identifier = "cancelButton";
    EXPECT_EQ(classify(pressed), std::nullopt);
}

TEST(SubmitButtonHeuristic, takesAStandardWindowForNoDialog)
{
    ProbedElement pressed = button("Delete");
    pressed.windowSubrole = "AXStandardWindow";
    EXPECT_EQ(classify(pressed), submits("Delete"));
    pressed.subrole = "AXDialog"; // The element's own subrole says nothing about its window.
    EXPECT_EQ(classify(pressed), submits("Delete"));
}

TEST(SubmitButtonHeuristic, namesAnUnknownApplication)
{
    ProbedElement pressed = button("Delete");
    for (char const* const subrole : {"AXDialog", "AXSystemDialog", "AXSystemFloatingWindow"}) {
        pressed.windowSubrole = subrole;
        EXPECT_EQ(classify(pressed), pressesInDialog("Delete", localized("common.app"))) << subrole;
    }
}

TEST(SubmitButtonHeuristic, takesBlanksForNoLabel)
{
    EXPECT_EQ(classify(sheetButton("   ")), pressesInDialog(localized("confirm.unnamedButton")));
    ProbedElement pressed = button("   ");
    pressed.label = "Pay";
    EXPECT_EQ(classify(pressed), submits("Pay"));
}

TEST(SubmitButtonHeuristic, showsALabelOfSignsThatNoWordTestSees)
{
    EXPECT_EQ(classify(sheetButton("!!!")), pressesInDialog("!!!"));
    EXPECT_EQ(classify(button("!!!")), std::nullopt);
    ProbedElement pressed = button("!!!");
    pressed.help = "Send";
    EXPECT_EQ(classify(pressed), submits("!!!"));
}

TEST(SubmitButtonHeuristic, readsTheLabelsInTheirOrder)
{
    ProbedElement pressed = sheetButton();
    pressed.label = "A";
    pressed.help = "B";
    pressed.identifier = "C";
    EXPECT_EQ(classify(pressed), pressesInDialog("A"));
    pressed.label.reset();
    EXPECT_EQ(classify(pressed), pressesInDialog("B"));
}

TEST(SubmitButtonHeuristic, bearsAHostileLabel)
{
    std::string const rightToLeftOverride = {'\xE2', '\x80', '\xAE'};
    std::string hostile;
    while (hostile.size() < std::size_t{64} * 1024)
        hostile += rightToLeftOverride + "aB\xCC\x81_";
    EXPECT_FALSE(matches(hostile));
    EXPECT_TRUE(matches(hostile + " pay"));
}

} // namespace
} // namespace zelvo
