// Whether the TV shows its ambient screen, as far as writes of screen-sensitive methods care.
#pragma once

namespace ambientmode {

// True while writes of the screen-sensitive methods are refused: a product with an ambient
// screen that shows it, or an Easel TV that shows art in its ambient screen. Always false on
// other products. Thread-safe (asks the platform afresh).
bool refusesWrites(bool ambientScreenSupported, bool easelTv);

}  // namespace ambientmode
