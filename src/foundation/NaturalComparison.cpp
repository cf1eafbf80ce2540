#include <ZtFoundation/Utilities.h>
#include <ZtFoundation/platform/Collation.h>

namespace ZtFoundation {

const std::uint32_t kNaturalComparisonUCCollateOptions = 0x3800E;

NSComparisonResult QvFoundationExtensions::naturalCompare(const Ref<NSString>& self, const Ref<NSString>& other) {
  if (!self || !other) return NSOrderedSame;
  std::int32_t order = 0;  // stays when the comparison fails
  UCCompareTextDefault(kNaturalComparisonUCCollateOptions, self->units(), other->units(), nullptr, &order);
  // A branch would be guessed wrong half of the time.
  return static_cast<NSComparisonResult>(int{order > 0} - int{order < 0});
}

}  // namespace ZtFoundation
