// Hexadecimal text, written and read, beside Python's bytes.hex(' ', 4) and bytes.fromhex.

#include <string>
#include <vector>

#include <ZtFoundation/Utilities.h>

#include "support/Python.h"
#include "support/Report.h"

namespace {

using namespace ZtFoundation;
using bench::processorMilliseconds;
using bench::Samples;

struct Times {
  Samples write, read;
};

void runOurs(const Ref<NSData>& data, Times& times) {
  Ref<NSString> text;
  Ref<NSData> back;
  times.write.push_back(processorMilliseconds([&] { text = QvFoundationExtensions::hexRepresentation(data); }));
  times.read.push_back(processorMilliseconds([&] { back = QvFoundationExtensions::dataWithHexRepresentation(text); }));
  bench::require(isEqual(data, back), "reading back");
}

void runPython(std::size_t bytes, Times& times) {
  const std::vector<double> figures = bench::python(
      "import time\n"
      "data = bytes(range(256)) * " +
          std::to_string(bytes / 256) +
          "\n"
          "begin = time.process_time(); text = data.hex(\" \", 4); middle = time.process_time()\n"
          "bytes.fromhex(text); end = time.process_time()\n"
          "print(1e3 * (middle - begin), 1e3 * (end - middle))",
      2);
  if (figures.empty()) return;
  times.write.push_back(figures[0]);
  times.read.push_back(figures[1]);
}

}  // namespace

int main() {
  const std::size_t bytes = bench::fullOrQuick(390'625U, 40'000U) * 256;
  std::string pattern(bytes, '\0');
  for (std::size_t at = 0; at < bytes; ++at) pattern[at] = static_cast<char>(at);
  const Ref<NSData> data = NSData::dataWithString(std::move(pattern));
  Times ours, python;
  bench::takeTurns(bench::fullOrQuick(9U, 5U), {[&] { runOurs(data, ours); }, [&] { runPython(bytes, python); }});
  const bench::Report report("Hexadecimal text");
  const std::string size = std::to_string(bytes / 1000 / 1000) + " MB";
  report.add({"write, " + size, "ms", ours.write, "Python's bytes.hex", python.write, 0.5});
  report.add({"read, " + size, "ms", ours.read, "Python's bytes.fromhex", python.read, 0.5});
}
