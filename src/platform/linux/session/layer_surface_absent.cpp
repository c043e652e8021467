#include "platform/linux/session/layer_surface.h"

// In place of layer_surface.cpp where the build has no library for the layer shell.

namespace korvel::platform {

bool layerSurfacesAreBuilt() {
    return false;
}

std::unique_ptr<LayerSurface> makeLayerSurface() {
    return nullptr;
}

} // namespace korvel::platform
