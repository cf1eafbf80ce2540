/// \file INILoss.h
/// What INI text cannot hold.
#pragma once

#include <ZtFoundation/platform/Dictionary.h>

#include <optional>

#include "KeyPath.h"

namespace ztplist {

/// The first place at which `read`, which is what reading the INI text of `written` gives, holds something else, a
/// section or an entry; none when nothing is lost. That values stand between quotes in it, and that they are text, is
/// no loss.
std::optional<KeyPath> firstLostInINI(const ZtFoundation::NSDictionary& written,
                                      const ZtFoundation::NSDictionary& read);

}  // namespace ztplist
