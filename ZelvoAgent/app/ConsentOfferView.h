#pragma once

#include "gateway/LinkCoordinator.h"

#include <QFrame>
#include <QWidget>

#include <functional>
#include <map>

class QPushButton;
class QVBoxLayout;

namespace zelvo {

class ScopeRow;
class WrappedLabel;

/// The consent window's content while there is an offer: who asks and how sure that is, the requested rights,
/// and the two answers. Thread: main.
class ConsentOfferView final : public QWidget {
public:
    struct Answers {
        std::function<void()> deny;
        std::function<void()> allow;
    };

    struct Request {
        LinkOffer offer;
        bool replacesAnother = false; ///< says that another request was shown until now
    };

    ConsentOfferView(
        LinkCoordinator& coordinator, Request request, int width, Answers answers, QWidget* parent);

    /// Updates from the coordinator: what is ticked, what failed, whether "Allow" is enabled.
    void refresh();
    /// Gives the keyboard to the first switch that the person can turn, or to no control: never to an answer.
    void takeFocus();
    QPushButton* denyButton() const { return deny; }
    /// Whether this key would allow the request or turn a switch on.
    bool wouldGive(int key) const;

private:
    void addNotice(QVBoxLayout& column);
    void addHeader(QVBoxLayout& column);
    void addOrigin(QVBoxLayout& column);
    void addScopes(QVBoxLayout& column);
    void addFooter(QVBoxLayout& column, Answers answers);
    void enableAllow(bool enabled);
    void showFailure();

    LinkCoordinator& coordinator;
    LinkOffer const offer;
    bool const replacesAnother;
    int const columnWidth; // points
    std::map<AgentScope, std::vector<ScopeRow*>> rows;
    QWidget* bypassWarning = nullptr;
    QWidget* failure = nullptr;
    QString failureText;
    QVBoxLayout* failurePlace = nullptr;
    QPushButton* deny = nullptr;
    QPushButton* allow = nullptr;
    bool allowHadFocus = false; // When it was disabled.
};

} // namespace zelvo
