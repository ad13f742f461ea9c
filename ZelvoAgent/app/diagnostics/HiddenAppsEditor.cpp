#include "app/diagnostics/HiddenAppsEditor.h"

#include "app/hidden_apps/HiddenAppsList.h"
#include "base/Task.h"

#include <set>
#include <utility>

namespace zelvo {

HiddenAppsEditor::HiddenAppsEditor(AppServices const& services, RunningApps& apps)
    : services(services), apps(apps), following(apps.changed.connect([this] {
          if (this->apps.indexOf(picked) < 0)
              pick(std::nullopt);
      }))
{
}

void HiddenAppsEditor::refresh()
{
    spawn(services.contexts.main,
          [this, weak = std::weak_ptr(alive), &store = services.parts.hiddenApps]() -> Task<> {
              std::set<std::string> const stored = co_await store.bundleIds();
              if (weak.expired())
                  co_return;
              hidden.assign(stored.begin(), stored.end());
              changed();
          });
}

void HiddenAppsEditor::pick(std::optional<std::int32_t> pid)
{
    picked = pid;
    changed();
}

std::optional<std::string> HiddenAppsEditor::pickedBundleId() const
{
    int const index = apps.indexOf(picked);
    return index < 0 ? std::nullopt : apps.all()[static_cast<std::size_t>(index)].bundleId;
}

void HiddenAppsEditor::hidePicked()
{
    std::optional<std::string> bundleId = pickedBundleId();
    if (!bundleId)
        return;
    set(*std::move(bundleId), true);
    pick(std::nullopt);
}

void HiddenAppsEditor::unhide(std::string bundleId)
{
    set(std::move(bundleId), false);
}

void HiddenAppsEditor::set(std::string bundleId, bool hides)
{
    hideFromAgents(services, std::move(bundleId), hides, [this, weak = std::weak_ptr(alive)] {
        if (!weak.expired())
            refresh();
    });
}

} // namespace zelvo
