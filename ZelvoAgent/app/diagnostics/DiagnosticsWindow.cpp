#include "app/diagnostics/DiagnosticsWindow.h"

#include "app/diagnostics/ConfirmSection.h"
#include "app/diagnostics/FactSections.h"
#include "app/diagnostics/HiddenSection.h"
#include "app/diagnostics/TreeSection.h"
#include "app/widgets/ScrollColumn.h"
#include "app/widgets/Spacing.h"

#include <QVBoxLayout>

namespace zelvo {

namespace {

// Points.
constexpr QSize leastSize(480, 420);
constexpr QSize idealSize(560, 700);

} // namespace

DiagnosticsWindow::DiagnosticsWindow(AppServices const& services)
    : ContentWindow(worded("window.diagnostics")), services(services), permissions(services.platform.access(),
                                                                                   services.contexts,
                                                                                   services.platform.clock(),
                                                                                   [this] { refreshSoon(); }),
      apps(services), tree(services, apps), hidden(services, apps), question(services)
{
    setMinimumSize(leastSize);
    resize(idealSize);
    following.emplace_back(services.parts.state.changed.connect([this] { refreshSoon(); }));
    apps.refresh();
    hidden.refresh();
}

QWidget* DiagnosticsWindow::newContent()
{
    auto* const content = new QWidget;
    auto* const column = new QVBoxLayout(content);
    column->setContentsMargins(spacing::margin, spacing::margin, spacing::margin, spacing::margin);
    column->setSpacing(spacing::margin);
    facts = {new ServerSection(services, content), new PermissionsSection(permissions, content),
             new StateSection(services.parts.state, content)};
    for (DiagnosticsSection* const section : facts)
        column->addWidget(section);
    column->addWidget(new TreeSection(tree, apps, content));
    column->addWidget(new HiddenSection(hidden, apps, content));
    column->addWidget(new ConfirmSection(question, content));
    column->addStretch();
    return new ScrollColumn(content, this);
}

void DiagnosticsWindow::refresh()
{
    for (DiagnosticsSection* const section : facts)
        section->refresh();
}

} // namespace zelvo
