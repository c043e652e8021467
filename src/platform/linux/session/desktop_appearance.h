#pragma once

#include <functional>
#include <optional>

#include "platform/appearance.h"
#include "platform/linux/session/appearance_settings.h"
#include "platform/linux/session/portal_appearance.h"
#include "platform/linux/session/x11_settings.h"

namespace korvel::platform {

/// How programs should look by what there is on this desktop: its portal, and its settings on the X
/// server.
class DesktopAppearance final : public Appearance {
  public:
    DesktopAppearance();

    std::optional<bool> prefersDark() const override { return portal_.prefersDark(); }
    double textScale() const override;
    bool prefersContrast() const override;
    bool reducesMotion() const override;
    void follow(std::function<void()> changed) override;

  private:
    void judge();

    std::function<void()> changed_;
    PortalAppearance portal_;
    X11Settings x11_;
    AppearanceSettings onX11_; ///< what the settings there say
};

} // namespace korvel::platform
