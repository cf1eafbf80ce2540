#include "platform/objects/UnitSearch.h"

#include <cstddef>
#include <span>
#include <vector>

namespace ZtFoundation::detail {

namespace {

// So few units are sooner compared again than remembered.
constexpr std::size_t kFew = 16;

template <class Unit>
using Forwards = std::span<const Unit>;

template <class Unit>
class Backwards {
 public:
  explicit Backwards(std::span<const Unit> units) : units_(units) {}
  Unit operator[](std::size_t index) const { return units_[units_.size() - 1 - index]; }
  std::size_t size() const { return units_.size(); }

 private:
  std::span<const Unit> units_;
};

/// How many units at the start of a row stand at the end of its first `length` units too, fewer than these. Worked out
/// only as far as somebody asks.
template <class Row>
class Borders {
 public:
  explicit Borders(const Row& row) : row_(row) {}

  std::size_t of(std::size_t length) {
    if (borders_.empty()) borders_.assign(2, 0);
    while (borders_.size() <= length) append();
    return borders_[length];
  }

 private:
  void append() {
    const auto unit = row_[borders_.size() - 1];
    std::size_t border = borders_.back();
    while (border != 0 && row_[border] != unit) border = borders_[border];
    borders_.push_back(row_[border] == unit ? border + 1 : 0);
  }

  const Row& row_;
  std::vector<std::size_t> borders_;
};

// The first place at or after `place` where the first unit stands and the rest has room, else one without room.
template <class Text, class Target>
std::size_t placeOfStart(const Text& text, const Target& target, std::size_t place) {
  while (place + target.size() <= text.size() && text[place] != target[0]) ++place;
  return place;
}

// By Knuth, Morris and Pratt: after a mismatch, what is known of the units that matched is not asked again.
template <class Text, class Target>
NSUInteger find(const Text& text, const Target& target, std::size_t from, const PlaceTest& willDo) {
  Borders<Target> borders(target);
  std::size_t matched = 0;
  std::size_t place = placeOfStart(text, target, from);
  while (place + target.size() <= text.size()) {
    while (matched < target.size() && text[place + matched] == target[matched]) ++matched;
    if (matched == target.size() && willDo(place)) return place;
    const std::size_t still = matched > kFew ? borders.of(matched) : 0;
    place += matched > kFew ? matched - still : 1;
    matched = still;
    if (matched == 0) place = placeOfStart(text, target, place);
  }
  return NSNotFound;
}

template <class Use>
NSUInteger withUnits(UnitView view, Use use) {
  if (view.isWide()) return use(std::span(view.wide().data(), view.size()));
  return use(std::span(reinterpret_cast<const unsigned char*>(view.narrow().data()), view.size()));
}

template <template <class> class Direction>
NSUInteger find(UnitView text, UnitView target, NSUInteger from, const PlaceTest& willDo) {
  return withUnits(text, [&]<class Unit>(std::span<const Unit> textUnits) {
    return withUnits(target, [&]<class TargetUnit>(std::span<const TargetUnit> targetUnits) {
      return find(Direction<Unit>(textUnits), Direction<TargetUnit>(targetUnits), from, willDo);
    });
  });
}

}  // namespace

NSUInteger findUnits(UnitView text, UnitView target, NSUInteger from, const PlaceTest& willDo) {
  return find<Forwards>(text, target, from, willDo);
}

NSUInteger findLastUnits(UnitView text, UnitView target, const PlaceTest& willDo) {
  const NSUInteger lastPlace = text.size() - target.size();
  const NSUInteger found =
      find<Backwards>(text, target, 0, [&](NSUInteger place) { return willDo(lastPlace - place); });
  return found != NSNotFound ? lastPlace - found : NSNotFound;
}

}  // namespace ZtFoundation::detail
