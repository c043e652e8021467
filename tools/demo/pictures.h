#pragma once

#include <QString>
#include <QTemporaryDir>

#include "simulation/scenario.h"

namespace korvel::simulation {

/// A display without a screen to look at, as tall as a scenario's and with two pixels for one of
/// the program's. Stands for the desktop of the application that is made after it.
class PictureScreen {
  public:
    explicit PictureScreen(const Scenario& scenario);

    /// False: there was no room for its description.
    bool valid() const { return valid_; }

  private:
    QTemporaryDir folder_;
    bool valid_ = false;
};

/// Runs a scenario in virtual time to its end, opens the real popover on what the program then has
/// to show, and draws it into BASE-light.png and BASE-dark.png. False: a file could not be written.
bool takePictures(const Scenario& scenario, const QString& base);

} // namespace korvel::simulation
