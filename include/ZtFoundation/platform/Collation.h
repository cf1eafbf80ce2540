/// \file Collation.h
/// The order in which people expect names to be listed.
#pragma once

#include <cstdint>

#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {

/// Bits of a collation option word.
inline constexpr std::uint32_t kUCCollateComposeInsensitiveMask = 0x2;  ///< composed and decomposed forms are the same
inline constexpr std::uint32_t kUCCollateWidthInsensitiveMask = 0x4;
inline constexpr std::uint32_t kUCCollateCaseInsensitiveMask = 0x8;
inline constexpr std::uint32_t kUCCollatePunctuationSignificantMask = 0x8000;
inline constexpr std::uint32_t kUCCollateDigitsOverrideMask = 0x10000;
inline constexpr std::uint32_t kUCCollateDigitsAsNumberMask = 0x20000;

/// Compares two texts by the root collation. The one option word that is supported is all six bits together; the order
/// is then exactly that of ICU's root collation with secondary strength, numbers by value and normalization. On success
/// answers 0 and writes, where not null, whether the texts are equivalent and their order (negative, 0, positive). Any
/// other option word, and the lack of the Unicode module where it is needed, answers -50 (paramErr) and writes nothing.
/// ASCII texts need no module. May be called by many threads at once.
ZT_EXPORT OSStatus UCCompareTextDefault(std::uint32_t options, const UnitView& text1, const UnitView& text2,
                                        bool* equivalent, std::int32_t* order);
/// The same on UTF-16 units.
ZT_EXPORT OSStatus UCCompareTextDefault(std::uint32_t options, const unichar* text1, NSUInteger length1,
                                        const unichar* text2, NSUInteger length2, bool* equivalent,
                                        std::int32_t* order);

}  // namespace ZtFoundation
