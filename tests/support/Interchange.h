/// \file Interchange.h
/// A value whose numbers, dates and texts lie at the limits of machine words. Files of it are kept below
/// tests/data/interchange: every build, of whatever word, writes these bytes and reads this value.
#pragma once

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Number.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>

namespace ZtFoundation::test {

inline Ref<NSDate> dateSince1970(double seconds) { return NSDate::dateWithTimeIntervalSince1970(seconds); }

inline Ref<NSDictionary> interchangedNumbers() {
  return NSDictionary::dictionaryWithEntries({{"smallest", std::numeric_limits<std::int64_t>::min()},
                                              {"before 32 bits", std::int64_t{-2147483649}},
                                              {"none", 0},
                                              {"32 bits", std::int64_t{2147483647}},
                                              {"33 bits", std::int64_t{4294967296}},
                                              {"largest", std::numeric_limits<std::int64_t>::max()},
                                              {"unsigned", std::numeric_limits<std::uint64_t>::max()},
                                              {"tenth", 0.1},
                                              {"third", -1.0 / 3.0},
                                              {"least", 5e-324},
                                              {"most", std::numeric_limits<double>::max()},
                                              {"yes", true}});
}

inline Ref<NSDictionary> interchangedDates() {
  return NSDictionary::dictionaryWithEntries({{"1601", dateSince1970(-11644473600)},
                                              {"1900", dateSince1970(-2208988800)},
                                              {"1970", dateSince1970(0)},
                                              {"2038", dateSince1970(2147483648)},
                                              {"2106", dateSince1970(4294967296)},
                                              {"9999", dateSince1970(253402300799)}});
}

inline Ref<NSDictionary> interchangedTexts() {
  return NSDictionary::dictionaryWithEntries({{"ASCII", "text"},
                                              {"Latin", "\xC3\xA9"},
                                              {"Han", "\xE6\xBC\xA2"},
                                              {"pair", "\xF0\x9D\x84\x9E"},
                                              {"bytes", NSData::dataWithBytes(std::string("\0\xFF\x7F", 3))}});
}

inline Ref<NSDictionary> interchangedValue() {
  return NSDictionary::dictionaryWithEntries(
      {{"numbers", interchangedNumbers()}, {"dates", interchangedDates()}, {"texts", interchangedTexts()}});
}

/// What the file that is kept holds.
inline std::string interchangedFile(const std::string& name) {
  std::ifstream file(ZT_TEST_DATA "/interchange/" + name, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

}  // namespace ZtFoundation::test
