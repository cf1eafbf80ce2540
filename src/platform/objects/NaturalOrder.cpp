#include "platform/objects/NaturalOrder.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace ZtFoundation::detail {

namespace {

// At secondary strength ASCII characters differ in their primary weight or not at all, so a rank each is all there is to
// know: control characters count for nothing, digits start a number, letters have no case.
using Rank = std::uint8_t;
constexpr Rank kIgnored = 0;
constexpr std::string_view kPunctuation = "\t\n\v\f\r _-,;:!?.'\"()[]{}@*/\\&#%`^+<=>|~$";
constexpr Rank kDigit = static_cast<Rank>(kPunctuation.size() + 1);
constexpr Rank kFirstLetter = kDigit + 1;
constexpr Rank kForeign = 0xFF;  // beyond ASCII

constexpr std::array<Rank, 256> makeRanks() {
  std::array<Rank, 256> ranks{};
  for (std::size_t i = 0x80; i < 256; ++i) ranks[i] = kForeign;
  for (std::size_t i = 0; i < kPunctuation.size(); ++i) {
    ranks[static_cast<unsigned char>(kPunctuation[i])] = static_cast<Rank>(i + 1);
  }
  for (std::size_t i = '0'; i <= '9'; ++i) ranks[i] = kDigit;
  for (std::size_t i = 0; i < 26; ++i) ranks['a' + i] = ranks['A' + i] = static_cast<Rank>(kFirstLetter + i);
  return ranks;
}

constexpr std::array<Rank, 256> kRanks = makeRanks();

// Longer numbers are compared in pieces, because that is what the collation does.
constexpr std::size_t kDigitsInPiece = 254;

constexpr bool isForeign(Rank rank) { return rank == kForeign; }
// 1 for what has no weight of its own or none that is known here, else 0.
constexpr unsigned saysLittle(Rank rank) { return static_cast<Rank>(rank + 1) < 2 ? 1 : 0; }

template <class Unit>
Rank rankOf(Unit unit) noexcept {
  if constexpr (sizeof(Unit) > 1) {
    if (unit > 0xFF) return kForeign;
  }
  return kRanks[unit];
}

// One of the two texts, read from the front.
template <class Unit>
struct Reader {
  const Unit* at;
  const Unit* end;

  bool atEnd() const noexcept { return at == end; }
  Rank rank() const noexcept { return rankOf(*at); }
  void skipIgnored() noexcept {
    while (at != end && rank() == kIgnored) ++at;
  }
  // A character beyond ASCII may change the weight of the one before it.
  bool isDecidedAt(const Unit* next) const noexcept { return next == end || !isForeign(rankOf(*next)); }

  // Takes the next piece of a number; leading zeros are not part of it, except when nothing else is left.
  std::basic_string_view<Unit> takePiece() noexcept {
    while (*at == '0' && isDigitAt(at + 1)) ++at;
    const Unit* const start = at;
    while (isDigitAt(at) && static_cast<std::size_t>(at - start) < kDigitsInPiece) ++at;
    return {start, static_cast<std::size_t>(at - start)};
  }

  bool isDigitAt(const Unit* place) const noexcept { return place != end && rankOf(*place) == kDigit; }
};

int orderOf(std::size_t a, std::size_t b) noexcept { return int{a > b} - int{a < b}; }

template <class A, class B>
int orderOfNumbers(std::basic_string_view<A> a, std::basic_string_view<B> b) noexcept {
  if (a.size() != b.size()) return orderOf(a.size(), b.size());
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (a[i] != b[i]) return orderOf(a[i], b[i]);
  }
  return 0;
}

template <class A, class B>
void skipSameLetters(Reader<A>& a, Reader<B>& b) noexcept {
  while (!a.atEnd() && !b.atEnd()) {
    const Rank rank = a.rank();
    if (rank != b.rank() || rank == kDigit || rank == kIgnored || rank == kForeign) return;
    ++a.at, ++b.at;
  }
}

// At least one text has ended: what is left of the other one makes it the greater.
template <class A, class B>
int orderAtEnd(const Reader<A>& a, const Reader<B>& b) noexcept {
  if (a.atEnd() && b.atEnd()) return 0;
  if (a.atEnd()) return isForeign(b.rank()) || !b.isDecidedAt(b.at + 1) ? kUndecided : -1;
  return isForeign(a.rank()) || !a.isDecidedAt(a.at + 1) ? kUndecided : 1;
}

template <class A, class B>
int orderOfDifferent(const Reader<A>& a, const Reader<B>& b) noexcept {
  if (isForeign(a.rank()) || isForeign(b.rank())) return kUndecided;
  if (!a.isDecidedAt(a.at + 1) || !b.isDecidedAt(b.at + 1)) return kUndecided;
  return orderOf(a.rank(), b.rank());
}

template <class A, class B>
[[gnu::noinline]] int compare(Reader<A> a, Reader<B> b) noexcept {
  for (;;) {
    skipSameLetters(a, b);
    a.skipIgnored();
    b.skipIgnored();
    if (a.atEnd() || b.atEnd()) return orderAtEnd(a, b);
    if (a.rank() != b.rank()) return orderOfDifferent(a, b);
    if (isForeign(a.rank())) return kUndecided;
    if (a.rank() != kDigit) continue;
    const auto pieceOfA = a.takePiece();
    const auto pieceOfB = b.takePiece();
    if (!a.isDecidedAt(a.at) || !b.isDecidedAt(b.at)) return kUndecided;
    if (const int order = orderOfNumbers(pieceOfA, pieceOfB); order != 0) return order;
  }
}

// --- Texts of one byte for each unit: the first difference nearly always decides

using Byte = unsigned char;
using Word = std::uint64_t;

constexpr std::size_t kWordSize = sizeof(Word);
constexpr Word kEachByte = 0x0101010101010101U;

Word loadWord(const Byte* bytes) noexcept {
  Word word;
  std::memcpy(&word, bytes, kWordSize);
  return word;
}

constexpr bool kLittleEndian = std::endian::native == std::endian::little;

// The index of the first byte in memory that is not 0; the word is not 0.
std::size_t firstByteSet(Word word) noexcept {
  return static_cast<std::size_t>(kLittleEndian ? std::countr_zero(word) : std::countl_zero(word)) / 8;
}

// How many bytes at the end in memory are 0.
std::size_t zeroBytesAtEnd(Word word) noexcept {
  return static_cast<std::size_t>(kLittleEndian ? std::countl_zero(word) : std::countr_zero(word)) / 8;
}

// The bytes from `at` on, zeros after the last one. The text is at least a word long.
Word loadUpToWord(const Byte* at, const Byte* end) noexcept {
  const auto left = static_cast<std::size_t>(end - at);
  if (left >= kWordSize) return loadWord(at);
  if (left == 0) return 0;
  const Word word = loadWord(end - kWordSize);
  const std::size_t surplus = (kWordSize - left) * 8;
  return kLittleEndian ? word >> surplus : word << surplus;
}

std::size_t firstDifference(const Byte* a, const Byte* b, std::size_t length) noexcept {
  std::size_t i = 0;
  for (; i + kWordSize <= length; i += kWordSize) {
    if (const Word difference = loadWord(a + i) ^ loadWord(b + i); difference != 0) return i + firstByteSet(difference);
  }
  if (length < kWordSize) {
    while (i < length && a[i] == b[i]) ++i;
    return i;
  }
  const Word difference = loadUpToWord(a + i, a + length) ^ loadUpToWord(b + i, b + length);
  return difference != 0 ? i + firstByteSet(difference) : length;
}

bool isDigit(Byte byte) noexcept { return byte - unsigned{'0'} < 10; }

// The high bit of each byte that is no digit.
Word markOthers(Word bytes) noexcept {
  const Word values = bytes ^ (kEachByte * '0');
  return (values | ((values & (kEachByte * 0x7F)) + kEachByte * (0x80 - 10))) & (kEachByte * 0x80);
}

const Byte* skipDigits(const Byte* begin, const Byte* at, const Byte* end) noexcept {
  if (static_cast<std::size_t>(end - begin) >= kWordSize) {
    if (const Word others = markOthers(loadUpToWord(at, end)); others != 0) return at + firstByteSet(others);
  }
  while (at != end && isDigit(*at)) ++at;
  return at;
}

// A text and the place of its first difference from the other one.
struct Place {
  const Byte* begin;
  const Byte* at;
  const Byte* end;

  Reader<Byte> readerFrom(std::size_t before) const noexcept { return {at - before, end}; }
};

[[gnu::always_inline]] inline std::size_t digitsBefore(const Place& place) noexcept {
  const Byte* at = place.at;
  if (static_cast<std::size_t>(at - place.begin) >= kWordSize) {
    if (const Word others = markOthers(loadWord(at - kWordSize)); others != 0) return zeroBytesAtEnd(others);
  }
  while (at != place.begin && isDigit(at[-1])) --at;
  return static_cast<std::size_t>(place.at - at);
}

bool isPlainAt(const Byte* at, const Byte* end) noexcept { return at >= end || *at < 0x80; }

// The order of two numbers, `shared` digits of which are before the difference.
[[gnu::always_inline]] inline int orderOfNumbers(const Place& a, const Place& b, std::size_t shared) noexcept {
  const Byte* const aNext = skipDigits(a.begin, a.at, a.end);
  const Byte* const bNext = skipDigits(b.begin, b.at, b.end);
  const auto aRest = static_cast<std::size_t>(aNext - a.at);
  const auto bRest = static_cast<std::size_t>(bNext - b.at);
  const Byte first = shared != 0 ? *(a.at - shared) : std::min(*a.at, *b.at);
  if (first == '0' || shared + std::max(aRest, bRest) > kDigitsInPiece) return kUndecided;
  if (!isPlainAt(aNext, a.end) || !isPlainAt(bNext, b.end)) return kUndecided;
  const int byLength = orderOf(aRest, bRest);
  return byLength != 0 ? byLength : orderOf(*a.at, *b.at);
}

// The order of two characters, at most one of which is a digit. Which one is the greater is a coin toss, so nothing branches on it.
[[gnu::always_inline]] inline int orderOfCharacters(const Place& a, const Place& b) noexcept {
  const Rank rankOfA = rankOf(*a.at), rankOfB = rankOf(*b.at);
  if ((saysLittle(rankOfA) | saysLittle(rankOfB) | unsigned{rankOfA == rankOfB}) != 0) return kUndecided;
  return isPlainAt(a.at + 1, a.end) && isPlainAt(b.at + 1, b.end) ? orderOf(rankOfA, rankOfB) : kUndecided;
}

int orderAtDifference(const Place& a, const Place& b) noexcept {
  if (!isDigit(*a.at) && !isDigit(*b.at)) return orderOfCharacters(a, b);
  const std::size_t shared = digitsBefore(a);
  const bool areNumbers = shared != 0 || (isDigit(*a.at) && isDigit(*b.at));
  return areNumbers ? orderOfNumbers(a, b, shared) : orderOfCharacters(a, b);
}

int compareBytes(std::string_view textA, std::string_view textB) noexcept {
  const auto* const beginA = reinterpret_cast<const Byte*>(textA.data());
  const auto* const beginB = reinterpret_cast<const Byte*>(textB.data());
  const std::size_t length = std::min(textA.size(), textB.size());
  const std::size_t same = firstDifference(beginA, beginB, length);
  const Place a{beginA, beginA + same, beginA + textA.size()};
  const Place b{beginB, beginB + same, beginB + textB.size()};
  if (same < length) {
    if (const int order = orderAtDifference(a, b); order != kUndecided) return order;
  }
  const std::size_t shared = digitsBefore(a);
  return compare(a.readerFrom(shared), b.readerFrom(shared));
}

Reader<Byte> narrowReader(const UnitView& units) noexcept {
  const auto* const start = reinterpret_cast<const Byte*>(units.narrow().data());
  return {start, start + units.size()};
}

Reader<char16_t> wideReader(const UnitView& units) noexcept {
  return {units.wide().data(), units.wide().data() + units.size()};
}

}  // namespace

int naturalOrder(const UnitView& a, const UnitView& b) noexcept {
  if (!a.isWide() && !b.isWide()) return compareBytes(a.narrow(), b.narrow());
  if (!a.isWide()) return compare(narrowReader(a), wideReader(b));
  if (!b.isWide()) return compare(wideReader(a), narrowReader(b));
  return compare(wideReader(a), wideReader(b));
}

}  // namespace ZtFoundation::detail
