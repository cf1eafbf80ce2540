#include "platform/objects/StringHash.h"

#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/personality.h>

#include <set>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Date.h>

#include "support/Sanitizers.h"

namespace ZtFoundation {
namespace {

TEST(StringHashTests, IsTheSameForBothWidths) {
  std::string bytes;
  for (int length = 0; length < 70; ++length) {
    std::u16string units;
    for (const char byte : bytes) units += static_cast<unsigned char>(byte);
    EXPECT_EQ(detail::hashUnits(UnitView(bytes.data(), bytes.size())),
              detail::hashUnits(UnitView(units.data(), units.size())));
    bytes += static_cast<char>(length * 37);
  }
}

TEST(StringHashTests, SpreadsSimilarKeys) {
  std::unordered_set<NSUInteger> hashes, lowBits;
  for (int i = 0; i < 10000; ++i) {
    const std::string key = "Track " + std::to_string(i);
    const NSUInteger hash = detail::hashUnits(UnitView(key.data(), key.size()));
    hashes.insert(hash);
    lowBits.insert(hash & 0x3FFF);
  }
  EXPECT_EQ(hashes.size(), 10000U);
  EXPECT_GT(lowBits.size(), 7000U);  // 16384 places: chance alone would fill about 7480
}

TEST(StringHashTests, EveryUnitCounts) {
  const std::u16string text(40, u'\u65E5');
  std::unordered_set<NSUInteger> hashes{detail::hashUnits(UnitView(text.data(), text.size()))};
  for (std::size_t i = 0; i < text.size(); ++i) {
    std::u16string changed = text;
    for (const char16_t unit : {u'\u672C', u'\u66E5'}) {
      changed[i] = unit;
      hashes.insert(detail::hashUnits(UnitView(changed.data(), changed.size())));
    }
  }
  EXPECT_EQ(hashes.size(), 81U);
}

bool loadsProgramsAnywhere() {
  char setting = '0';
  if (FILE* file = ::fopen("/proc/sys/kernel/randomize_va_space", "re")) {
    if (::fread(&setting, 1, 1, file) != 1) setting = '0';
    ::fclose(file);
  }
  return setting != '0';
}

// Programs that are started in its scope are loaded anywhere, also when this one was started by `setarch -R`.
class RandomLayout {
 public:
  RandomLayout() { ::personality(static_cast<unsigned>(before_) & ~unsigned{ADDR_NO_RANDOMIZE}); }
  RandomLayout(const RandomLayout&) = delete;
  RandomLayout& operator=(const RandomLayout&) = delete;
  ~RandomLayout() { ::personality(static_cast<unsigned>(before_)); }

  bool wasRandom() const { return (static_cast<unsigned>(before_) & ADDR_NO_RANDOMIZE) == 0; }

 private:
  static constexpr unsigned long kOnlyAsk = 0xFFFFFFFF;
  const int before_ = ::personality(kOnlyAsk);
};

// What another process of this program tells; see the test behind.
std::string hashesInAnotherProcess() {
  std::string output;
  FILE* const child = ::popen(
      "exec /proc/$PPID/exe --gtest_also_run_disabled_tests --gtest_filter=StringHashTests.DISABLED_TellsHashes", "re");
  if (child == nullptr) return output;
  for (int byte = ::fgetc(child); byte != EOF; byte = ::fgetc(child)) output += static_cast<char>(byte);
  ::pclose(child);
  return output;
}

// What stands behind `label` in such an output.
std::string hashAfter(const std::string& label, const std::string& output) {
  const std::size_t at = output.find(label);
  return at == std::string::npos ? std::string() : output.substr(at, output.find('\n', at) - at);
}

std::vector<std::pair<const char*, Ref<NSObject>>> probes() {
  return {{"text: ", "a key"},
          {"integer: ", 4711},
          {"real: ", 0.5},
          {"date: ", NSDate::dateWithTimeIntervalSinceReferenceDate(1e8)},
          {"data: ", NSData::dataWithBytes("a key")}};
}

TEST(StringHashTests, DISABLED_TellsHashes) {
  for (const auto& [label, value] : probes()) std::printf("%s%zu\n", label, static_cast<std::size_t>(value->hash()));
}

// So nobody can prepare keys that collide.
TEST(StringHashTests, DiffersFromProcessToProcess) {
  if (!loadsProgramsAnywhere()) GTEST_SKIP() << "programs are loaded at fixed addresses here";
  const RandomLayout layout;
  if (test::kIsSanitized && !layout.wasRandom()) GTEST_SKIP() << "programs with sanitizers need fixed addresses here";
  const std::string outputs[] = {hashesInAnotherProcess(), hashesInAnotherProcess(), hashesInAnotherProcess()};
  for (const auto& [label, value] : probes()) {
    std::set<std::string> hashes;
    for (const std::string& output : outputs) hashes.insert(hashAfter(label, output));
    EXPECT_FALSE(hashes.contains("")) << label;
    EXPECT_GT(hashes.size(), 1U) << label << value;
  }
}

}  // namespace
}  // namespace ZtFoundation
