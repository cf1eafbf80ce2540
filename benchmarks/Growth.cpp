// How time and memory grow with the size of a file: a music library as XML and binary, settings as INI and OpenStep
// text. Time and memory for each megabyte are compared with those of the smallest file; linear growth shows as ratios
// about 1.

#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <ZtFoundation/PropertyLists.h>

#include "support/MediaLibrary.h"
#include "support/Report.h"
#include "support/Scratch.h"

using namespace ZtFoundation;
using bench::processorMilliseconds;
using bench::require;
using bench::Samples;

namespace {

constexpr std::size_t kMegabyte = 1000 * 1000;
constexpr QvPropertyListFormat kOpenStep = 1;
constexpr QvPropertyListFormat kXML = 100;
constexpr QvPropertyListFormat kBinary = 200;
// Tables that outgrow the caches cost some; what grows with the square would be some hundred times as much.
constexpr double kMostGrowth = 2;

struct Format {
  const char* name;
  QvPropertyListFormat number;
  bool isWritten = true;
};

// What a megabyte of the file costs.
struct Cost {
  double reading, writing;  // milliseconds; 0 for what is only read
  double memory;            // megabytes
};

Ref<NSObject> read(const Ref<NSData>& bytes, QvPropertyListFormat format) {
  return QvPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(bytes, 0, &format,
                                                                                                    nullptr);
}

Ref<NSData> write(const Ref<NSObject>& value, QvPropertyListFormat format) {
  return QvPropertyListSerialization::dataFromPropertyList_format_errorDescription(value, format, nullptr);
}

// How one format says what settings consist of; "@" stands for a number that is in the text once.
struct Settings {
  std::string_view before, section, entry, betweenSections, after;
};

constexpr Settings kAsINI{"", "[Section @]\n", "Key@=some value or other @\n", "", ""};
constexpr Settings kAsOpenStep{"{\n", "\"Section @\" = {\n", "Key@ = \"some value or other @\";\n", "};\n", "};\n}\n"};

void appendNumbered(std::string& text, std::string_view piece, const std::string& number) {
  for (const char character : piece) character == '@' ? text.append(number) : text.append(1, character);
}

std::string textOf(const Settings& settings, std::size_t bytes) {
  std::string text(settings.before);
  text.reserve(bytes + 100);
  for (std::size_t line = 0; text.size() < bytes; ++line) {
    if (line != 0 && line % 50 == 0) text += settings.betweenSections;
    appendNumbered(text, line % 50 == 0 ? settings.section : settings.entry, std::to_string(line));
  }
  return text.append(settings.after);
}

// `bytes` of text; binary is about three tenths of the XML that it is made from.
Ref<NSData> makeInput(QvPropertyListFormat format, std::size_t bytes) {
  if (format == QvPropertyListINIFormat) return NSData::dataWithString(textOf(kAsINI, bytes));
  if (format == kOpenStep) return NSData::dataWithString(textOf(kAsOpenStep, bytes));
  Ref<NSData> xml = NSData::dataWithString(bench::MediaLibrary::xml(bytes));
  return format == kBinary ? write(read(xml, kXML), kBinary) : xml;
}

double peakMegabytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) * 1024 / kMegabyte;
}

double timeOfWriting(const Ref<NSObject>& value, QvPropertyListFormat format) {
  Ref<NSData> output;
  const double taken = processorMilliseconds([&] { output = write(value, format); });
  require(static_cast<bool>(output), "writing");
  return taken;
}

Cost costOf(const Format& format, const std::string& file) {
  const Ref<NSData> input = NSData::dataWithContentsOfFile(file);
  require(static_cast<bool>(input), "reading the input file");
  const double megabytes = static_cast<double>(input->length()) / kMegabyte;
  const double before = peakMegabytes();
  Ref<NSObject> value;
  const double reading = processorMilliseconds([&] { value = read(input, format.number); });
  require(static_cast<bool>(value), "reading");
  const double writing = format.isWritten ? timeOfWriting(value, format.number) : 0;
  return {reading / megabytes, writing / megabytes, (peakMegabytes() - before) / megabytes};
}

// In a process of its own, so that the peak of memory is that of the work.
template <class Work>
void inProcessOfItsOwn(Work work) {
  const pid_t child = fork();
  if (child == 0) {
    work();
    std::_Exit(0);
  }
  int status = 0;
  require(child > 0 && waitpid(child, &status, 0) == child && status == 0, "a measurement");
}

// Filled by processes that this one starts.
Cost* sharedCost() {
  void* const page = ::mmap(nullptr, sizeof(Cost), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  require(page != MAP_FAILED, "sharing memory");
  return new (page) Cost{};
}

struct Series {
  Samples reading, writing, memory;

  void add(const Cost& cost) {
    reading.push_back(cost.reading);
    writing.push_back(cost.writing);
    memory.push_back(cost.memory);
  }
};

// The input lies in a file, since making it takes memory too.
std::vector<Series> measured(const Format& format, const std::vector<std::size_t>& sizes, std::size_t rounds) {
  static Cost* const cost = sharedCost();
  const bench::Scratch folder;
  const auto fileOf = [&](std::size_t size) { return folder.path() + "/" + std::to_string(size); };
  for (const std::size_t size : sizes) {
    inProcessOfItsOwn([&] {
      const Ref<NSData> input = makeInput(format.number, size * kMegabyte);
      require(input->writeToFile_atomically(fileOf(size), false), "writing the input file");
    });
  }
  std::vector<Series> result(sizes.size());
  std::vector<std::function<void()>> contenders;
  for (std::size_t at = 0; at < sizes.size(); ++at) {
    contenders.emplace_back([&, at] {
      inProcessOfItsOwn([&] { *cost = costOf(format, fileOf(sizes[at])); });
      result[at].add(*cost);
    });
  }
  bench::takeTurns(rounds, contenders);
  return result;
}

void compare(const bench::Report& report, const Format& format, const std::vector<std::size_t>& sizes,
             std::size_t rounds) {
  const std::vector<Series> series = measured(format, sizes, rounds);
  const Series& smallest = series.front();
  const std::string peer = "the same, " + std::to_string(sizes.front()) + " MB";
  for (std::size_t at = 1; at < sizes.size(); ++at) {
    const std::string name = std::string(format.name) + ", " + std::to_string(sizes[at]) + " MB";
    report.add({"read " + name, "ms/MB", series[at].reading, peer, smallest.reading, kMostGrowth});
    if (format.isWritten) {
      report.add({"write " + name, "ms/MB", series[at].writing, peer, smallest.writing, kMostGrowth});
    }
    report.add({"memory " + name, "MB/MB", series[at].memory, peer, smallest.memory, kMostGrowth});
  }
}

}  // namespace

int main() {
  const bench::Report report("Growth with the size of the file");
  const std::vector<std::size_t> sizes =
      bench::isQuick() ? std::vector<std::size_t>{1, 5, 20} : std::vector<std::size_t>{1, 50, 500};
  for (const Format& format : {Format{"XML", kXML}, Format{"binary (from XML)", kBinary},
                               Format{"INI", QvPropertyListINIFormat}, Format{"OpenStep text", kOpenStep, false}}) {
    compare(report, format, sizes, 3);
  }
}
