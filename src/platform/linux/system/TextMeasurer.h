/// \file TextMeasurer.h
/// The measurer of the desktop module.
#pragma once

#include "platform/services/TextMeasurer.h"

namespace ZtFoundation {

/// The measurer of the module `file`; one without any font when there is no such module.
TextMeasurer& textMeasurerInModule(const char* file);

}  // namespace ZtFoundation
