// Natural comparison beside the collator it agrees with: sorting names, and comparing names picked at random.

#include <ZtFoundation/Utilities.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "support/Report.h"

#if ZT_BENCH_HAS_ICU
#include <unicode/ucol.h>
#endif

namespace {

using namespace ZtFoundation;

constexpr std::size_t kNames = 1000;
const std::size_t kRounds = bench::fullOrQuick(41U, 9U);
constexpr int kRepeats = 10;

struct Names {
  std::vector<Ref<NSString>> strings;
  std::vector<std::u16string> units;  // what the collator takes

  void add(const std::u16string& name) {
    strings.emplace_back(name);
    units.push_back(name);
  }
};

std::u16string decimal(std::uint64_t value) {
  const std::string digits = std::to_string(value);
  return std::u16string(digits.begin(), digits.end());
}

Names makeNames(const std::vector<std::u16string>& beginnings, const std::vector<std::u16string>& endings) {
  std::minstd_rand random(3);
  Names names;
  for (std::size_t i = 0; i < kNames; ++i) {
    names.add(beginnings[random() % beginnings.size()] + decimal(random() % 2000) + endings[random() % endings.size()]);
  }
  return names;
}

// Nanoseconds of the processor for each comparison.
template <class Work>
double measure(Work work) {
  std::uint64_t comparisons = 0;
  const double taken = bench::processorMilliseconds([&] {
    for (int i = 0; i < kRepeats; ++i) work(comparisons);
  });
  return taken * 1e6 / static_cast<double>(comparisons);
}

std::vector<std::size_t> indexes() {
  std::vector<std::size_t> result(kNames);
  for (std::size_t i = 0; i < kNames; ++i) result[i] = i;
  return result;
}

template <class Compare>
double timeOfSorting(Compare compare) {
  return measure([&](std::uint64_t& comparisons) {
    std::vector<std::size_t> order = indexes();
    std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
      ++comparisons;
      return compare(a, b) < 0;
    });
  });
}

template <class Compare>
double timeOfRandomPairs(Compare compare) {
  volatile int sink = 0;
  return measure([&](std::uint64_t& comparisons) {
    int sum = 0;
    for (std::size_t i = 0; i < kNames; ++i) sum += compare(i, (i * 2654435761U + 7) % kNames);
    sink = sink + sum;
    comparisons += kNames;
  });
}

// Types instead of functions, so that what is measured is compiled into the loops.
struct Library {
  static int compare(const Names& names, std::size_t a, std::size_t b) {
    return static_cast<int>(QvFoundationExtensions::naturalCompare(names.strings[a], names.strings[b]));
  }
};

#if ZT_BENCH_HAS_ICU
UCollator* openCollator() {
  UErrorCode status = U_ZERO_ERROR;
  UCollator* const collator = ucol_open("root", &status);
  ucol_setAttribute(collator, UCOL_STRENGTH, UCOL_SECONDARY, &status);
  ucol_setAttribute(collator, UCOL_NUMERIC_COLLATION, UCOL_ON, &status);
  ucol_setAttribute(collator, UCOL_NORMALIZATION_MODE, UCOL_ON, &status);
  bench::require(U_SUCCESS(status), "opening the collator");
  return collator;
}

struct Collator {
  static int compare(const Names& names, std::size_t a, std::size_t b) {
    static UCollator* const collator = openCollator();
    const std::u16string &x = names.units[a], &y = names.units[b];
    return ucol_strcoll(collator, x.data(), static_cast<int32_t>(x.size()), y.data(), static_cast<int32_t>(y.size()));
  }
};
#else
struct Collator {
  static int compare(const Names&, std::size_t, std::size_t) { return 0; }
};
#endif

template <class Work>
void compare(const bench::Report& report, const std::string& name, double bound, Work work) {
  auto times = bench::inTurns(kRounds, {[&] { return work(Library()); }, [&] { return work(Collator()); }});
  if (!ZT_BENCH_HAS_ICU) times[1].clear();
  report.add({name, "ns", times[0], "ICU's ucol_strcoll", times[1], bound});
}

void compare(const bench::Report& report, const std::string& label, double bound, const Names& names) {
  const auto sorting = [&](auto contender) {
    return timeOfSorting([&](std::size_t a, std::size_t b) { return contender.compare(names, a, b); });
  };
  const auto pairs = [&](auto contender) {
    return timeOfRandomPairs([&](std::size_t a, std::size_t b) { return contender.compare(names, a, b); });
  };
  compare(report, "sorting " + label + " names", bound, sorting);
  compare(report, "random pairs of " + label + " names", bound, pairs);
}

}  // namespace

int main() {
  const bench::Report report("Natural order of names");
  compare(report, "ASCII", 0.25,
          makeNames({u"IMG_", u"Document ", u"Report-2023-", u"file", u"track "}, {u".jpg", u" copy.txt", u""}));
  compare(report, "Latin", 1,
          makeNames({u"Übersicht ", u"Café-", u"résumé", u"Größe_", u"señal "}, {u".jpg", u" Änderung.txt", u""}));
  compare(report, "Japanese", 1,
          makeNames({u"写真", u"書類 ", u"カメラ_", u"ﾌｧｲﾙ", u"東京の夜景"}, {u".jpg", u"のコピー", u"枚目"}));
}
