#include "platform/objects/NaturalOrder.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "platform/objects/UTF8.h"

namespace ZtFoundation::detail {

namespace {

// At secondary strength ASCII characters differ in their primary weight or not at all, so a rank each is all there is
// to know: control characters count for nothing, digits start a number, letters have no case.
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

  // Takes the next piece of a number, without leading zeros.
  std::basic_string_view<Unit> takePiece() noexcept {
    while (at != end && *at == '0') ++at;
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
    if (rank != b.rank() || rank == kDigit || rank == kForeign) return;
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

// --- Texts of the same width: the first difference nearly always decides

using Word = std::uint64_t;

constexpr std::size_t kWordSize = sizeof(Word);
constexpr Word kEachByte = 0x0101010101010101U;
constexpr bool kLittleEndian = std::endian::native == std::endian::little;

template <class Unit>
Word loadWord(const Unit* units) noexcept {
  Word word;
  std::memcpy(&word, units, kWordSize);
  return word;
}

// The index of the first byte in memory that is not 0; the word is not 0.
std::size_t firstByteSet(Word word) noexcept {
  return static_cast<std::size_t>(kLittleEndian ? std::countr_zero(word) : std::countl_zero(word)) / 8;
}

// How many bytes at the end in memory are 0.
std::size_t zeroBytesAtEnd(Word word) noexcept {
  return static_cast<std::size_t>(kLittleEndian ? std::countl_zero(word) : std::countr_zero(word)) / 8;
}

// The units from `at` on, zeros after the last one. The text is at least a word long.
template <class Unit>
Word loadUpToWord(const Unit* at, const Unit* end) noexcept {
  const auto left = static_cast<std::size_t>(end - at) * sizeof(Unit);
  if (left >= kWordSize) return loadWord(at);
  if (left == 0) return 0;
  const Word word = loadWord(end - kWordSize / sizeof(Unit));
  const std::size_t surplus = (kWordSize - left) * 8;
  return kLittleEndian ? word >> surplus : word << surplus;
}

template <class Unit>
std::size_t firstDifference(const Unit* a, const Unit* b, std::size_t length) noexcept {
  constexpr std::size_t kStep = kWordSize / sizeof(Unit);
  std::size_t i = 0;
  for (; i + kStep <= length; i += kStep) {
    const Word difference = loadWord(a + i) ^ loadWord(b + i);
    if (difference != 0) return i + firstByteSet(difference) / sizeof(Unit);
  }
  if (length < kStep) {
    while (i < length && a[i] == b[i]) ++i;
    return i;
  }
  const Word difference = loadUpToWord(a + i, a + length) ^ loadUpToWord(b + i, b + length);
  return difference != 0 ? i + firstByteSet(difference) / sizeof(Unit) : length;
}

template <class Unit>
constexpr bool isDigit(Unit unit) noexcept {
  return unit - unsigned{'0'} < 10;
}

// The high bit of each byte that is no digit.
Word markOthers(Word bytes) noexcept {
  const Word values = bytes ^ (kEachByte * '0');
  return (values | ((values & (kEachByte * 0x7F)) + kEachByte * (0x80 - 10))) & (kEachByte * 0x80);
}

struct UnitRange {
  char16_t first, last;
};

// What names are written in beyond ASCII and is no digit and changes no weight of a character before it; of characters
// of two units the first one. Those of names that are met most come first. U+0387, which does change an l, is left out.
constexpr UnitRange kPlainUnits[] = {
    {0x4E00, 0x9FFF},                                      // Kanji
    {0x3041, 0x3096}, {0x30A1, 0x30FA}, {0xFF71, 0xFF9D},  // kana
    {0xAC00, 0xD7A3}, {0x3400, 0x4DBF},                    // Hangul, rare Kanji
    {0x0388, 0x0482}, {0x048A, 0x052F},                    // Greek, Cyrillic
    {0x05D0, 0x05EA}, {0x0620, 0x064A},                    // Hebrew, Arabic
    {0x0904, 0x0939}, {0x0E01, 0x0E30}, {0x0E40, 0x0E46},  // Devanagari, Thai
    {0xD83C, 0xD83D}, {0x2600, 0x27BF}, {0xFE0F, 0xFE0F},  // emoji
};

// No digits either.
constexpr UnitRange kMarks[] = {{0x0300, 0x036F}, {0x093A, 0x0963}, {0x0E31, 0x0E4E}};

template <std::size_t count>
constexpr bool isIn(const UnitRange (&ranges)[count], char16_t unit) noexcept {
  return std::any_of(ranges, ranges + count,
                     [unit](UnitRange range) { return unit >= range.first && unit <= range.last; });
}

constexpr bool isPlainUnit(char16_t unit) noexcept { return isIn(kPlainUnits, unit); }

// A text and the place of its first difference from the other one.
template <class Unit>
struct Place {
  const Unit* begin;
  const Unit* at;
  const Unit* end;

  bool startsPlainly(const Unit* next) const noexcept { return next >= end || *next < 0x80 || isPlainUnit(*next); }

  const Unit* endOfDigits() const noexcept {
    const Unit* next = at;
    if constexpr (sizeof(Unit) == 1) {
      if (static_cast<std::size_t>(end - begin) >= kWordSize) {
        if (const Word others = markOthers(loadUpToWord(at, end)); others != 0) return at + firstByteSet(others);
      }
    }
    while (next != end && isDigit(*next)) ++next;
    return next;
  }

  const Unit* startOfDigits() const noexcept {
    if constexpr (sizeof(Unit) == 1) {
      if (static_cast<std::size_t>(at - begin) >= kWordSize) {
        const Word others = markOthers(loadWord(at - kWordSize));
        if (others != 0) return at - zeroBytesAtEnd(others);
      }
    }
    const Unit* first = at;
    while (first != begin && isDigit(first[-1])) --first;
    return first;
  }
};

// The order of two numbers, `shared` digits of which are before the difference.
template <class Unit>
[[gnu::always_inline]] inline int orderOfNumbers(const Place<Unit>& a, const Place<Unit>& b,
                                                 std::size_t shared) noexcept {
  const Unit* const aNext = a.endOfDigits();
  const Unit* const bNext = b.endOfDigits();
  const auto aRest = static_cast<std::size_t>(aNext - a.at);
  const auto bRest = static_cast<std::size_t>(bNext - b.at);
  const Unit first = shared != 0 ? *(a.at - shared) : std::min(*a.at, *b.at);
  if (first == '0' || shared + std::max(aRest, bRest) > kDigitsInPiece) return kUndecided;
  if (!a.startsPlainly(aNext) || !b.startsPlainly(bNext)) return kUndecided;
  const int byLength = orderOf(aRest, bRest);
  return byLength != 0 ? byLength : orderOf(*a.at, *b.at);
}

// The order of two characters that are not both in numbers. Which one is the greater is a coin toss, so nothing
// branches on it.
template <class Unit>
[[gnu::always_inline]] inline int orderOfCharacters(const Place<Unit>& a, const Place<Unit>& b) noexcept {
  const Rank rankOfA = rankOf(*a.at), rankOfB = rankOf(*b.at);
  if ((saysLittle(rankOfA) | saysLittle(rankOfB) | unsigned{rankOfA == rankOfB}) != 0) return kUndecided;
  return a.startsPlainly(a.at + 1) && b.startsPlainly(b.at + 1) ? orderOf(rankOfA, rankOfB) : kUndecided;
}

// Whether what stands before `place` may be a digit of another script, which belongs to the number too.
template <class Unit>
bool mayFollowDigit(const Unit* begin, const Unit* place) noexcept {
  if (sizeof(Unit) == 1 || place == begin || place[-1] < 0x80) return false;
  const bool hasTwoUnits = isLowSurrogate(place[-1]) && place - begin > 1;
  const auto unit = place[hasTwoUnits ? -2 : -1];
  return !isPlainUnit(unit) && !isIn(kMarks, unit);
}

template <class Unit>
[[gnu::always_inline]] inline int orderAtDifference(const Place<Unit>& a, const Place<Unit>& b) noexcept {
  if (!isDigit(*a.at) && !isDigit(*b.at)) return orderOfCharacters(a, b);
  const Unit* const number = a.startOfDigits();
  if (mayFollowDigit(a.begin, number)) return kUndecided;
  const bool areNumbers = number != a.at || (isDigit(*a.at) && isDigit(*b.at));
  return areNumbers ? orderOfNumbers(a, b, static_cast<std::size_t>(a.at - number)) : orderOfCharacters(a, b);
}

template <class Unit>
[[gnu::noinline]] int compareFromStart(const Unit* textA, std::size_t lengthA, const Unit* textB,
                                       std::size_t lengthB) noexcept {
  const std::size_t length = std::min(lengthA, lengthB);
  const std::size_t same = firstDifference(textA, textB, length);
  const Place<Unit> a{textA, textA + same, textA + lengthA};
  const Place<Unit> b{textB, textB + same, textB + lengthB};
  if (same < length) {
    if (const int order = orderAtDifference(a, b); order != kUndecided) return order;
    if (isForeign(rankOf(*a.at)) || isForeign(rankOf(*b.at))) return kUndecided;
  }
  return compare(Reader<Unit>{textA, a.end}, Reader<Unit>{textB, b.end});
}

// Names that have nothing in common are told apart by their first characters, before anything else is worked out.
template <class Unit>
int compareSameWidth(const Unit* a, std::size_t lengthA, const Unit* b, std::size_t lengthB) noexcept {
  if (lengthA >= 2 && lengthB >= 2) {
    const Rank rankOfA = rankOf(*a), rankOfB = rankOf(*b);
    const bool mayChange = a[1] >= 0x80 || b[1] >= 0x80;
    if ((saysLittle(rankOfA) | saysLittle(rankOfB) | unsigned{rankOfA == rankOfB} | unsigned{mayChange}) == 0) {
      return orderOf(rankOfA, rankOfB);
    }
  }
  return compareFromStart(a, lengthA, b, lengthB);
}

// --- Views

using Byte = unsigned char;

const Byte* bytesOf(const UnitView& units) noexcept { return reinterpret_cast<const Byte*>(units.narrow().data()); }

Reader<Byte> narrowReader(const UnitView& units) noexcept { return {bytesOf(units), bytesOf(units) + units.size()}; }

Reader<char16_t> wideReader(const UnitView& units) noexcept {
  return {units.wide().data(), units.wide().data() + units.size()};
}

}  // namespace

int naturalOrder(const UnitView& a, const UnitView& b) noexcept {
  if (!a.isWide() && !b.isWide()) return compareSameWidth(bytesOf(a), a.size(), bytesOf(b), b.size());
  if (!a.isWide()) return compare(narrowReader(a), wideReader(b));
  if (!b.isWide()) return compare(wideReader(a), narrowReader(b));
  return compareSameWidth(a.wide().data(), a.size(), b.wide().data(), b.size());
}

}  // namespace ZtFoundation::detail
