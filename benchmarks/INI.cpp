// INI text: reading it into sections beside the bare parse of inih, whose callback does no more than look at what it is
// given, and writing it. The runs take turns, and medians of processor time are compared.
//
//   bench-INI [MEGABYTES...]     default: 1 5 50 500
//
// Aims at 50 MB: reading takes less time than inih. Everything grows with the text.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include <ZtFoundation/PropertyLists.h>

#include "support/Timing.h"

#if ZT_BENCH_HAS_INIH
#include <ini.h>
#endif

using namespace ZtFoundation;

namespace {

// Of the processor, so that other work on the machine counts little.
template <class Work>
double milliseconds(Work work) {
  const std::clock_t start = std::clock();
  work();
  return static_cast<double>(std::clock() - start) * 1e3 / CLOCKS_PER_SEC;
}

// Settings of many windows: a dozen entries each, numbers, switches, titles and paths. `title` comes into each.
std::string settingsText(std::size_t size, const std::string& title) {
  std::string text;
  text.reserve(size + 1024);
  for (unsigned window = 0; text.size() < size; ++window) {
    const std::string number = std::to_string(window);
    text +=
        "[Window " + number + "]\nTitle=" + title + " " + number + "\nPath=/home/alice/documents/" + number + ".txt\n";
    for (const char* key : {"Left", "Top", "Width", "Height"}) text += std::string(key) + "=" + number + "\n";
    text += "Visible=1\nZoomed=0\nFont=\"Sans 13\"\nScroll position=" + number +
            "\nRecent search=needle\n; saved by hand\n\n";
  }
  return text;
}

Ref<NSObject> readOurs(const Ref<NSData>& data) {
  QvPropertyListFormat format = QvPropertyListINIFormat;
  return QvPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(data, 0, &format,
                                                                                                    nullptr);
}

Ref<NSData> writeOurs(const Ref<NSObject>& value) {
  return QvPropertyListSerialization::dataFromPropertyList_format_errorDescription(value, QvPropertyListINIFormat,
                                                                                   nullptr);
}

#if ZT_BENCH_HAS_INIH
int look(void* sum, const char* section, const char* name, const char* value) {
  *static_cast<unsigned*>(sum) += static_cast<unsigned>(section[0] + name[0] + value[0]);
  return 1;
}
#endif

struct Times {
  std::vector<double> read, write, destroy, inih;
};

void runOurs(const Ref<NSData>& data, Times& times) {
  Ref<NSObject> value;
  Ref<NSData> written;
  times.read.push_back(milliseconds([&] { value = readOurs(data); }));
  times.write.push_back(milliseconds([&] { written = writeOurs(value); }));
  bench::require(as<NSDictionary>(value)->count() != 0, "reading");
  bench::require(static_cast<bool>(written), "writing");
  times.destroy.push_back(milliseconds([&] { value.reset(); }));
}

void runPeer([[maybe_unused]] const std::string& text, [[maybe_unused]] Times& times) {
#if ZT_BENCH_HAS_INIH
  unsigned sum = 0;
  times.inih.push_back(milliseconds([&] { ini_parse_string(text.c_str(), look, &sum); }));
  bench::require(sum != 0, "reading with inih");
#endif
}

void compare(const char* what, const std::string& text, std::size_t rounds) {
  const Ref<NSData> data = NSData::dataWithBytes(text);
  Times times;
  for (std::size_t i = 0; i < rounds; ++i) {
    runOurs(data, times);
    runPeer(text, times);
  }
  const double megabytes = static_cast<double>(text.size()) / 1e6;
  const double read = bench::median(times.read);
  const double write = bench::median(times.write);
  std::printf("%6.0f MB  %-7s  read %8.2f ms (%5.2f ms/MB)   write %8.2f ms (%5.2f ms/MB)   destroy %8.2f ms",
              megabytes, what, read, read / megabytes, write, write / megabytes, bench::median(times.destroy));
  if (const double inih = bench::median(times.inih); inih > 0) {
    std::printf("   inih %8.2f ms (reading is %.2f of it)", inih, read / inih);
  }
  std::printf("\n");
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::size_t> sizes;
  for (int i = 1; i < argc; ++i) sizes.push_back(std::strtoul(argv[i], nullptr, 10));
  if (sizes.empty()) sizes = {1, 5, 50, 500};
#if !ZT_BENCH_HAS_INIH
  std::printf("inih is not installed: nothing to compare with\n");
#endif
  for (const std::size_t size : sizes) {
    const std::size_t rounds = std::clamp<std::size_t>(500 / std::max<std::size_t>(size, 1), 3, 21);
    compare("ASCII", settingsText(size * 1000 * 1000, "Notes of today"), rounds);
    if (size <= 50) compare("Unicode", settingsText(size * 1000 * 1000, "Größe und 日本語"), rounds);
  }
}
