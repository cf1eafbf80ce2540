/// \file RandomSource.h
/// Random bytes fit for identifiers.
#pragma once

#include <cstddef>
#include <span>

namespace ZtFoundation {

class RandomSource {
 public:
  virtual ~RandomSource() = default;
  static RandomSource& production();

  /// Fills `bytes`; false when the system gives none.
  virtual bool fill(std::span<std::byte> bytes) = 0;
};

}  // namespace ZtFoundation
