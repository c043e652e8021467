#include "platform/macos/thermal_state.h"

#import <Foundation/Foundation.h>

namespace korvel::platform {

int thermalState() {
    return static_cast<int>(NSProcessInfo.processInfo.thermalState);
}

} // namespace korvel::platform
