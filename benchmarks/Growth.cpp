// How time and memory grow with the size of a file: reading and writing a music library as XML and binary, and settings as INI
// text. Linear growth shows as columns that stay the same from row to row.
//
//   bench-Growth [MEGABYTES...]     default: 1 5 50 200; 500 needs 3 GB of memory

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <ZtFoundation/PropertyLists.h>

#include "support/MediaLibrary.h"
#include "support/Timing.h"

using namespace ZtFoundation;
using bench::milliseconds;
using bench::require;

namespace {

constexpr std::size_t kMegabyte = 1 << 20;
constexpr QvPropertyListFormat kXML = 100;
constexpr QvPropertyListFormat kBinary = 200;

struct Row {
  const char* name;
  QvPropertyListFormat format;
};

Ref<NSObject> read(const Ref<NSData>& bytes, QvPropertyListFormat format) {
  return QvPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(bytes, 0, &format,
                                                                                                    nullptr);
}

Ref<NSData> write(const Ref<NSObject>& value, QvPropertyListFormat format) {
  return QvPropertyListSerialization::dataFromPropertyList_format_errorDescription(value, format, nullptr);
}

std::string settings(std::size_t bytes) {
  std::string text;
  text.reserve(bytes + 100);
  for (std::size_t line = 0; text.size() < bytes; ++line) {
    const std::string number = std::to_string(line);
    text += line % 50 == 0 ? "[Section " + number + "]\n" : "Key" + number + "=some value or other " + number + "\n";
  }
  return text;
}

// A music library of the size in the format; binary is smaller than the XML that it is made from.
Ref<NSData> makeInput(QvPropertyListFormat format, std::size_t bytes) {
  if (format == QvPropertyListINIFormat) return NSData::dataWithString(settings(bytes));
  constexpr std::size_t kXMLPerBinary = 4;
  Ref<NSData> xml = NSData::dataWithString(bench::MediaLibrary::xml(format == kBinary ? kXMLPerBinary * bytes : bytes));
  return format == kBinary ? write(read(xml, kXML), kBinary) : xml;
}

double peakMegabytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1024;
}

// In a process of its own, so that the peak of memory is this row's. The input lies in a file, since making it takes memory too.
void measure(const Row& row, const char* file) {
  const Ref<NSData> input = NSData::dataWithContentsOfFile(file);
  require(static_cast<bool>(input), "reading the input file");
  const double megabytes = static_cast<double>(input->length()) / kMegabyte;
  const double before = peakMegabytes();
  Ref<NSObject> value;
  const double reading = milliseconds([&] { value = read(input, row.format); });
  require(static_cast<bool>(value), "reading");
  const double afterReading = peakMegabytes();
  Ref<NSData> output;
  const double writing = milliseconds([&] { output = write(value, row.format); });
  require(static_cast<bool>(output), "writing");
  const double afterWriting = peakMegabytes();
  const double releasing = milliseconds([&] { value.reset(); });
  std::printf(
      "%-7s %7.1f MB  read %9.1f ms %6.2f ms/MB  write %6.2f ms/MB  release %6.2f ms/MB  memory %5.2f and %5.2f "
      "MB/MB\n",
      row.name, megabytes, reading, reading / megabytes, writing / megabytes, releasing / megabytes,
      (afterReading - before) / megabytes, (afterWriting - afterReading) / megabytes);
  std::fflush(stdout);
}

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

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::size_t> sizes;
  for (int index = 1; index < argc; ++index) sizes.push_back(std::strtoull(argv[index], nullptr, 10));
  if (sizes.empty()) sizes = {1, 5, 50, 200};

  char file[] = "/tmp/ztgrowth-XXXXXX";
  const int descriptor = mkstemp(file);
  require(descriptor >= 0, "making a temporary file");
  close(descriptor);
  for (const Row& row : {Row{"XML", kXML}, Row{"binary", kBinary}, Row{"INI", QvPropertyListINIFormat}}) {
    for (const std::size_t size : sizes) {
      inProcessOfItsOwn([&] {
        require(makeInput(row.format, size * kMegabyte)->writeToFile_atomically(file, false), "writing the input file");
      });
      inProcessOfItsOwn([&] { measure(row, file); });
    }
  }
  unlink(file);
}
