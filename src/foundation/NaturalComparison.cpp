#include <ZtFoundation/Utilities.h>
#include <ZtFoundation/platform/Collation.h>

namespace ZtFoundation {

const std::uint32_t kNaturalComparisonUCCollateOptions = 0x3800E;

NSComparisonResult QvFoundationExtensions::naturalCompare(const Ref<NSString>& self, const Ref<NSString>& other) {
  if (!self || !other) return NSOrderedSame;
  std::int32_t order = 0;  // stays when the comparison fails
  UCCompareTextDefault(kNaturalComparisonUCCollateOptions, self->units(), other->units(), nullptr, &order);
  return order < 0 ? NSOrderedAscending : order > 0 ? NSOrderedDescending : NSOrderedSame;
}

}  // namespace ZtFoundation
