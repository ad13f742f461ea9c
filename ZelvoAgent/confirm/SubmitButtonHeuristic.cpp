#include "confirm/SubmitButtonHeuristic.h"

#include "base/LocalizedTexts.h"
#include "base/Text.h"
#include "confirm/ButtonRoles.h"

#include <algorithm>
#include <array>
#include <ranges>

namespace zelvo::SubmitButtonHeuristic {

namespace {

constexpr auto titles = std::to_array<std::string_view>(
    {"send",     "submit",  "pay",         "buy",      "order",        "delete",    "confirm",  "purchase",
     "reply",    "post",    "publish",     "transfer", "checkout",     "отправить", "оплатить", "купить",
     "заказать", "удалить", "подтвердить", "ответить", "опубликовать", "перевести"});

constexpr auto cancelTitles =
    std::to_array<std::string_view>({"cancel", "close", "dismiss", "not now", "later", "back", "отмена",
                                     "отменить", "закрыть", "не сейчас", "назад"});

/// True if the text is the title, or begins with it as a whole word.
bool beginsWith(std::string_view text, std::string_view title)
{
    return text.starts_with(title) && (text.size() == title.size() || text[title.size()] == ' ');
}

bool isWayOut(std::string const& label)
{
    std::string const words = normalize(label);
    return std::ranges::any_of(cancelTitles,
                               [&](std::string_view title) { return beginsWith(words, title); });
}

std::vector<std::string> labelsOf(ProbedElement const& element)
{
    std::vector<std::string> labels;
    for (std::optional<std::string> const& label :
         {element.title, element.label, element.help, element.identifier})
        if (label && !text::trimmed(*label).empty())
            labels.push_back(*label);
    return labels;
}

std::string shownTitle(std::vector<std::string> const& labels)
{
    std::optional<std::string> label = humanLabel(labels);
    return label ? *std::move(label) : localized("confirm.unnamedButton");
}

/// Every button of a dialog needs a yes, except those that leave the dialog.
std::optional<ConfirmationSubject> classifyInDialog(ProbedElement const& element,
                                                    std::vector<std::string> const& labels)
{
    if (std::ranges::any_of(labels, isWayOut))
        return std::nullopt;
    std::string app = element.appName ? *element.appName : localized("common.app");
    return ConfirmationSubject{ConfirmationSubject::DialogButton{shownTitle(labels), std::move(app)}};
}

} // namespace

std::optional<ConfirmationSubject> classify(ProbedElement const& element)
{
    if (!isButtonRole(element.role))
        return std::nullopt;
    std::vector<std::string> const labels = labelsOf(element);
    if (element.isInSheet || isDialogSubrole(element.windowSubrole))
        return classifyInDialog(element, labels);
    if (std::ranges::any_of(labels, [](std::string const& label) { return matches(label); }))
        return ConfirmationSubject{ConfirmationSubject::SubmitButton{shownTitle(labels)}};
    return std::nullopt;
}

bool matches(std::string_view text)
{
    std::string const words = normalize(text);
    return std::ranges::any_of(std::views::split(words, ' '), [](auto const& word) {
        return std::ranges::find(titles, std::string_view(word.begin(), word.end())) != titles.end();
    });
}

std::string normalize(std::string_view text)
{
    return text::lowercased(text::trimmed(text::wordsOnly(text::camelCaseSplit(text))));
}

std::optional<std::string> humanLabel(std::vector<std::string> const& labels)
{
    auto const isForPeople = [](std::string const& label) {
        return label.find('_') == std::string::npos && label.find("Button") == std::string::npos;
    };
    auto const found = std::ranges::find_if(labels, isForPeople);
    if (found != labels.end())
        return *found;
    return labels.empty() ? std::nullopt : std::optional(labels.front());
}

} // namespace zelvo::SubmitButtonHeuristic
