// Natural comparison beside the collator it agrees with: sorting names, and comparing names picked at random.

#include <ZtFoundation/Utilities.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <random>
#include <string>
#include <vector>

#if ZT_BENCH_HAS_ICU
#include <unicode/ucol.h>
#endif

namespace {

using namespace ZtFoundation;

constexpr std::size_t kNames = 1000;
constexpr int kRounds = 40;
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

// The best processor time of several rounds, in nanoseconds for each comparison.
template <class Work>
double measure(Work work) {
  double best = 1e18;
  for (int round = 0; round < kRounds; ++round) {
    std::uint64_t comparisons = 0;
    const std::clock_t start = std::clock();
    for (int i = 0; i < kRepeats; ++i) work(comparisons);
    const double nanoseconds = static_cast<double>(std::clock() - start) * (1e9 / CLOCKS_PER_SEC);
    best = std::min(best, nanoseconds / static_cast<double>(comparisons));
  }
  return best;
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

void report(const char* names, const char* what, double ours, double theirs) {
  std::printf("%-10s %-14s %8.1f ns  collator %8.1f ns  ratio %.3f\n", names, what, ours, theirs, ours / theirs);
}

#if ZT_BENCH_HAS_ICU

UCollator* openCollator() {
  UErrorCode status = U_ZERO_ERROR;
  UCollator* const collator = ucol_open("root", &status);
  ucol_setAttribute(collator, UCOL_STRENGTH, UCOL_SECONDARY, &status);
  ucol_setAttribute(collator, UCOL_NUMERIC_COLLATION, UCOL_ON, &status);
  ucol_setAttribute(collator, UCOL_NORMALIZATION_MODE, UCOL_ON, &status);
  return collator;
}

void compareWithCollator(const char* label, const Names& names) {
  static UCollator* const collator = openCollator();
  const auto ours = [&](std::size_t a, std::size_t b) {
    return static_cast<int>(QvFoundationExtensions::naturalCompare(names.strings[a], names.strings[b]));
  };
  const auto theirs = [&](std::size_t a, std::size_t b) {
    const std::u16string &x = names.units[a], &y = names.units[b];
    return static_cast<int>(
        ucol_strcoll(collator, x.data(), static_cast<int32_t>(x.size()), y.data(), static_cast<int32_t>(y.size())));
  };
  report(label, "sorting", timeOfSorting(ours), timeOfSorting(theirs));
  report(label, "random pairs", timeOfRandomPairs(ours), timeOfRandomPairs(theirs));
}

#else

void compareWithCollator(const char* label, const Names& names) {
  const auto ours = [&](std::size_t a, std::size_t b) {
    return static_cast<int>(QvFoundationExtensions::naturalCompare(names.strings[a], names.strings[b]));
  };
  std::printf("%-10s sorting %8.1f ns, nothing to compare with: ICU is not installed\n", label, timeOfSorting(ours));
}

#endif

}  // namespace

int main() {
  compareWithCollator(
      "ASCII", makeNames({u"IMG_", u"Document ", u"Report-2023-", u"file", u"track "}, {u".jpg", u" copy.txt", u""}));
  compareWithCollator(
      "Latin", makeNames({u"Übersicht ", u"Café-", u"résumé", u"Größe_", u"señal "}, {u".jpg", u" Änderung.txt", u""}));
  compareWithCollator(
      "Japanese", makeNames({u"写真", u"書類 ", u"カメラ_", u"ﾌｧｲﾙ", u"東京の夜景"}, {u".jpg", u"のコピー", u"枚目"}));
  return 0;
}
