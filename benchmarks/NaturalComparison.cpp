// Natural comparison beside the collator it agrees with: sorting names, comparing names picked at random, and comparing
// texts of every kind, where each answer is looked at.

#include <ZtFoundation/Utilities.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "../tests/support/NaturalTexts.h"
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

// --- Texts of every kind

constexpr std::size_t kThrees = 10'000;

// Texts by threes, which are mostly alike.
Names makeThrees(NaturalTexts& texts) {
  Names names;
  for (std::size_t i = 0; i < kThrees; ++i) {
    const std::u16string first = texts.text(), second = texts.mostlyLike(first);
    names.add(first);
    names.add(second);
    names.add(texts.mostlyLike(second));
  }
  return names;
}

// For each three: how the first stands to the second, the second to the third, the first to the third.
using Answers = std::vector<int>;

template <class Contender>
double ask(Contender contender, const Names& names, Answers& answers) {
  answers.resize(names.strings.size());
  const double taken = bench::processorMilliseconds([&] {
    for (std::size_t i = 0; i < answers.size(); i += 3) {
      answers[i] = contender.compare(names, i, i + 1);
      answers[i + 1] = contender.compare(names, i + 1, i + 2);
      answers[i + 2] = contender.compare(names, i, i + 2);
    }
  });
  return taken * 1e6 / static_cast<double>(answers.size());
}

bool isAnsweredBackwards(const Names& names, const Answers& answers, std::size_t i) {
  return Library::compare(names, i + 1, i) == -answers[i] && Library::compare(names, i + 2, i + 1) == -answers[i + 1] &&
         Library::compare(names, i + 2, i) == -answers[i + 2];
}

// No text is before one that it is behind.
bool isOneOrder(const Answers& answers, std::size_t i) {
  const auto [lower, upper] = std::minmax(answers[i], answers[i + 1]);
  return (upper > 0 || answers[i + 2] <= 0) && (lower < 0 || answers[i + 2] >= 0);
}

void requireOrder(const Names& names, const Answers& answers) {
  for (std::size_t i = 0; i < answers.size(); i += 3) {
    bench::require(isAnsweredBackwards(names, answers, i), "the opposite answer the other way round");
    bench::require(isOneOrder(answers, i), "one order of three texts");
  }
}

void compareTextsOfEveryKind(const bench::Report& report) {
  const std::size_t blocks = bench::fullOrQuick(334U, 10U);
  NaturalTexts texts(7);
  bench::Samples ours, theirs;
  Answers answers, collators;
  for (std::size_t block = 0; block < blocks; ++block) {
    const Names names = makeThrees(texts);
    const auto times = bench::inTurns(
        2, {[&] { return ask(Library(), names, answers); }, [&] { return ask(Collator(), names, collators); }});
    ours.insert(ours.end(), times[0].begin(), times[0].end());
    theirs.insert(theirs.end(), times[1].begin(), times[1].end());
    bench::require(!ZT_BENCH_HAS_ICU || answers == collators, "the collator's answers");
    requireOrder(names, answers);
  }
  if (!ZT_BENCH_HAS_ICU) theirs.clear();
  report.add({std::to_string(blocks * 3 * kThrees) + " pairs of texts of every kind", "ns", ours, "ICU's ucol_strcoll",
              theirs, 1});
}

// --- Names

// Beginnings and endings of names in one script, with what is wanted at most.
struct Script {
  const char* name;
  double bound;
  std::vector<std::u16string> beginnings, endings;
};

const Script kScripts[] = {
    {"ASCII", 0.25, {u"IMG_", u"Document ", u"Report-2023-", u"file", u"track "}, {u".jpg", u" copy.txt", u""}},
    {"Latin", 1, {u"Übersicht ", u"Café-", u"résumé", u"Größe_", u"señal "}, {u".jpg", u" Änderung.txt", u""}},
    {"decomposed Latin",
     1,
     {u"U\u0308bersicht ", u"Cafe\u0301-", u"re\u0301sume\u0301", u"Gro\u0308ße_", u"sen\u0303al "},
     {u".jpg", u" A\u0308nderung.txt", u""}},
    {"Greek", 1, {u"Έγγραφο ", u"Αναφορά-", u"αρχείο", u"Φωτογραφία_", u"κομμάτι "}, {u".jpg", u" αντίγραφο.txt", u""}},
    {"Cyrillic", 1, {u"Документ ", u"Отчёт-", u"файл", u"Снимок_", u"запись "}, {u".jpg", u" копия.txt", u""}},
    {"Hebrew", 1, {u"מסמך ", u"דוח-", u"קובץ", u"תמונה_", u"שיר "}, {u".jpg", u" עותק.txt", u""}},
    {"Arabic", 1, {u"مستند ", u"تقرير-", u"ملف", u"صورة_", u"أغنية "}, {u".jpg", u" نسخة.txt", u""}},
    {"Hindi", 1, {u"दस्तावेज़ ", u"रिपोर्ट-", u"फ़ाइल", u"चित्र_", u"गीत "}, {u".jpg", u" प्रति.txt", u""}},
    {"Thai", 1, {u"เอกสาร ", u"รายงาน-", u"ไฟล์", u"ภาพ_", u"เพลง "}, {u".jpg", u" สำเนา.txt", u""}},
    {"Korean", 1, {u"문서 ", u"보고서-", u"파일", u"사진_", u"음악 "}, {u".jpg", u" 사본.txt", u""}},
    {"Chinese", 1, {u"文档 ", u"报告-", u"文件", u"照片_", u"音乐 "}, {u".jpg", u" 副本.txt", u""}},
    {"Japanese", 1, {u"写真", u"書類 ", u"カメラ_", u"ﾌｧｲﾙ", u"東京の夜景"}, {u".jpg", u"のコピー", u"枚目"}},
    {"emoji", 1, {u"📄 ", u"😀-", u"📷", u"🏖️_", u"🎵🎶"}, {u".jpg", u"✨.txt", u""}},
};

}  // namespace

int main() {
  const bench::Report report("Natural order of names");
  for (const Script& script : kScripts) {
    compare(report, script.name, script.bound, makeNames(script.beginnings, script.endings));
  }
  compareTextsOfEveryKind(report);
}
