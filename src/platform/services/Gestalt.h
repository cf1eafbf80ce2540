/// \file Gestalt.h
/// Questions about the machine by four-character selector.
#pragma once

#include <cstdint>

#include <ZtFoundation/platform/Types.h>

namespace ZtFoundation {

inline constexpr OSType gestaltSystemVersion = 0x73797376;               // 'sysv'
inline constexpr OSType gestaltPhysicalRAMSize = 0x72616D20;             // 'ram '
inline constexpr OSType gestaltPhysicalRAMSizeInMegabytes = 0x72616D6D;  // 'ramm'
inline constexpr std::int16_t gestaltUnknownErr = -5550;
inline constexpr std::int16_t gestaltUndefSelectorErr = -5551;

class Gestalt {
 public:
  virtual ~Gestalt() = default;
  static Gestalt& production();

  /// Writes the answer and returns 0; any other status leaves `response` as it is.
  virtual std::int16_t ask(OSType selector, std::int32_t& response) = 0;
};

}  // namespace ZtFoundation
