#pragma once

#include <QString>
#include <QTemporaryDir>

#include "simulation/scenario.h"

namespace korvel::simulation {

/// How the popover of a picture is shown.
struct PictureView {
    double scale = 2;     ///< pixels of a picture for one of the program's
    bool shadowed = true; ///< as where windows blend; else with square corners and without a shadow
    QString focused{};    ///< the piece that the Tab key went to, by its objectName; empty: none
    QString clicked{};    ///< the button that was clicked then, by its objectName; empty: none
};

/// A display without a screen to look at, as tall as a scenario's. Stands for the desktop of the
/// application that is made after it.
class PictureScreen {
  public:
    PictureScreen(const Scenario& scenario, double scale);

    /// False: there was no room for its description.
    bool valid() const { return valid_; }

  private:
    QTemporaryDir folder_;
    bool valid_ = false;
};

/// Runs a scenario in virtual time to its end, opens the real popover on what the program then has
/// to show, and draws it into BASE-light.png and BASE-dark.png, in the scale of the screen. False:
/// a file could not be written, or there is no piece of that name.
bool takePictures(const Scenario& scenario, const QString& base, const PictureView& view = {});

} // namespace korvel::simulation
