// Shift-JIS beside the system's converter and ICU: Japanese and ASCII text of the same size, read and written.
// Ours makes a whole string or data object each time; the others fill a buffer that is there already.

#include <iconv.h>

#include <functional>
#include <string>
#include <vector>

#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/String.h>

#include "support/Report.h"

#if ZT_BENCH_HAS_ICU
#include <unicode/ucnv.h>
#endif

namespace {

using namespace ZtFoundation;

constexpr std::size_t kUnits = 100000;
constexpr std::size_t kRounds = 101;

std::u16string repeated(const std::u16string& piece) {
  std::u16string text;
  while (text.size() < kUnits) text += piece;
  return text;
}

struct Sample {
  const char* name;
  std::u16string units;
  std::string bytes;

  Sample(const char* what, const std::u16string& piece) : name(what), units(repeated(piece)) {
    bytes = Ref<NSString>(units)->dataUsingEncoding(NSShiftJISStringEncoding)->view();
  }
};

struct Converter {
  const char* name;
  std::function<void(const Sample&)> read;
  std::function<void(const Sample&)> write;
};

Converter ours(const Sample& sample) {
  const Ref<NSString> text = sample.units;
  return {"ours",
          [](const Sample& each) {
            const auto read = NSString::stringWithBytes_length_encoding(each.bytes.data(), each.bytes.size(),
                                                                        NSShiftJISStringEncoding);
            bench::require(read && read->length() == each.units.size(), "reading");
          },
          [text](const Sample& each) {
            const auto written = text->dataUsingEncoding_allowLossyConversion(NSShiftJISStringEncoding, true);
            bench::require(written && written->length() == each.bytes.size(), "writing");
          }};
}

void convert(const char* to, const char* from, const void* bytes, std::size_t size) {
  static std::vector<char> buffer(4 * kUnits);
  const iconv_t descriptor = iconv_open(to, from);
  bench::require(descriptor != reinterpret_cast<iconv_t>(-1), "opening iconv");
  char* in = const_cast<char*>(static_cast<const char*>(bytes));
  char* out = buffer.data();
  std::size_t room = buffer.size();
  bench::require(iconv(descriptor, &in, &size, &out, &room) == 0, "iconv");
  iconv_close(descriptor);
}

Converter systems() {
  return {"iconv", [](const Sample& each) { convert("UTF-16LE", "CP932", each.bytes.data(), each.bytes.size()); },
          [](const Sample& each) { convert("CP932", "UTF-16LE", each.units.data(), 2 * each.units.size()); }};
}

#if ZT_BENCH_HAS_ICU
UConverter* openICU() {
  UErrorCode status = U_ZERO_ERROR;
  UConverter* const converter = ucnv_open("ibm-943_P15A-2003", &status);
  bench::require(U_SUCCESS(status), "opening ICU's converter");
  return converter;
}

Converter unicodes() {
  static UConverter* const converter = openICU();
  static std::vector<char16_t> units(2 * kUnits);
  static std::vector<char> bytes(4 * kUnits);
  return {"ICU",
          [](const Sample& each) {
            UErrorCode status = U_ZERO_ERROR;
            ucnv_toUChars(converter, units.data(), static_cast<int32_t>(units.size()), each.bytes.data(),
                          static_cast<int32_t>(each.bytes.size()), &status);
            bench::require(U_SUCCESS(status), "ICU reading");
          },
          [](const Sample& each) {
            UErrorCode status = U_ZERO_ERROR;
            ucnv_fromUChars(converter, bytes.data(), static_cast<int32_t>(bytes.size()), each.units.data(),
                            static_cast<int32_t>(each.units.size()), &status);
            bench::require(U_SUCCESS(status), "ICU writing");
          }};
}
#endif

std::function<double()> nanosecondsPerUnit(const std::function<void(const Sample&)>& work, const Sample& sample) {
  return [&] {
    return bench::processorMilliseconds([&] { work(sample); }) * 1e6 / static_cast<double>(sample.units.size());
  };
}

// The faster of both peers is the one to keep up with, so each is.
void compare(const bench::Report& report, const Sample& sample) {
  std::vector<Converter> converters{ours(sample), systems()};
#if ZT_BENCH_HAS_ICU
  converters.push_back(unicodes());
#endif
  std::vector<std::function<double()>> reads, writes;
  for (const Converter& converter : converters) {
    reads.push_back(nanosecondsPerUnit(converter.read, sample));
    writes.push_back(nanosecondsPerUnit(converter.write, sample));
  }
  const auto reading = bench::inTurns(kRounds, reads), writing = bench::inTurns(kRounds, writes);
  for (std::size_t peer = 1; peer < converters.size(); ++peer) {
    report.add({std::string("read ") + sample.name, "ns/unit", reading[0], converters[peer].name, reading[peer], 1});
    report.add({std::string("write ") + sample.name, "ns/unit", writing[0], converters[peer].name, writing[peer], 1});
  }
}

}  // namespace

int main() {
  const bench::Report report("Shift-JIS");
  compare(report, {"Japanese", u"日本語の文章、カタカナとひらがなと漢字が混ざっている。"});
  compare(report, {"mixed", u"ファイル名 report 2023 の写真.jpg "});
  compare(report, {"ASCII", u"The quick brown fox jumps over the lazy dog. "});
}
