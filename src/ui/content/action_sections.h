#pragma once

#include "ui/content/popover_content.h"

namespace korvel {

class Awake;
class Model;

/// The popover's lower sections: what can be done about the machine, and the way out.

PopoverContent::KeepAwake keepAwakeOf(const Awake& awake);

PopoverContent::Footer footerOf(const Model& model);

} // namespace korvel
