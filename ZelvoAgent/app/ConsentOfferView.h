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

    ConsentOfferView(
        LinkCoordinator& coordinator, LinkOffer shown, int width, Answers answers, QWidget* parent);

    /// Updates from the coordinator: what is ticked, what failed, whether "Allow" is enabled.
    void refresh();

private:
    void addHeader(QVBoxLayout& column);
    void addOrigin(QVBoxLayout& column);
    void addScopes(QVBoxLayout& column);
    void addFooter(QVBoxLayout& column, Answers answers);
    void enableAllow(bool enabled);
    void showFailure();

    LinkCoordinator& coordinator;
    LinkOffer const offer;
    int const columnWidth; // points
    std::map<AgentScope, std::vector<ScopeRow*>> rows;
    QWidget* bypassWarning = nullptr;
    QWidget* failure = nullptr;
    QString failureText;
    QVBoxLayout* failurePlace = nullptr;
    QPushButton* allow = nullptr;
};

} // namespace zelvo
