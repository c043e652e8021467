#pragma once

#include <functional>
#include <memory>
#include <optional>

#include <QObject>

#include "platform/status_bar.h"
#include "ui/quick/popover_views.h"

namespace korvel {

/// A popover of the desktop's own, which stands around a native view.
struct PopoverHost {
    std::unique_ptr<platform::Popover> popover;
    std::function<void(void* view)> setContent;                               ///< null: none
    std::function<void(double width, double height)> setPreferredContentSize; ///< in points
    /// Of the screen, less what is always on it, in points; nullopt where there is no screen.
    std::function<std::optional<double>()> visibleScreenHeight;
};

/// The popover where the desktop has one: the views are the content of its own.
class HostedPopover final : public QObject, public platform::Popover {
  public:
    /// Makes the host. It is to call `closed` each time the popover has closed, whoever closed it,
    /// and not once it is destroyed. It may call late, when the popover has faded.
    using MakeHost = std::function<PopoverHost(std::function<void()> closed)>;

    /// `root` outlives the popover.
    HostedPopover(ContentView& root, Words words, const MakeHost& makeHost);

    void show(platform::StatusItem& item, const platform::ActivationRequest& request) override;
    void close() override;
    bool shown() const override;
    void activate(const platform::ActivationRequest& request) override;
    void makeKey() override;
    void drawNow() override;

  private:
    void loaded();
    void closed();
    void resize();

    PopoverViews views_;
    PopoverHost host_; ///< goes first: it calls back into the views, and holds their native view
};

} // namespace korvel
