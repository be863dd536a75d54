// Channel control: tuning a channel directly.
#pragma once

#include "System/ControlHelperBase.h"

// Serves "directChannelControl".
// Builds no properties yet: each of its commands fails in the handler as one without data.
// Stateless; threads as ControlHelperBase.
class ChannelControlHelper : public ControlHelperBase {};
