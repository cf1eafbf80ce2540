// Reading and writing a music library as an XML property list, beside libplist (tree and text of the same values), the
// bare parse of pugixml (a tree of text pieces, no values) and Python's plistlib.

#include <malloc.h>

#include <cstdint>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/PropertyListSerialization.h>

#include "support/MediaLibrary.h"
#include "support/Python.h"
#include "support/Report.h"
#include "support/Scratch.h"

#if ZT_BENCH_HAS_LIBPLIST
#include <plist/plist.h>
#endif
#if ZT_BENCH_HAS_PUGIXML
#include <pugixml.hpp>
#endif

using namespace ZtFoundation;

namespace {

using bench::processorMilliseconds;
using bench::require;
using bench::Samples;

constexpr double kMostBytesOfHeap = 80;

std::size_t heapInUse() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

std::size_t countValues(const NSObject& root) {
  std::size_t count = 0;
  std::vector<const NSObject*> pending{&root};
  while (!pending.empty()) {
    const NSObject* value = pending.back();
    pending.pop_back();
    ++count;
    if (const NSArray* array = as<NSArray>(value)) {
      for (const Ref<NSObject>& item : *array) pending.push_back(item.get());
    } else if (const NSDictionary* dictionary = as<NSDictionary>(value)) {
      for (const DictionaryEntry& entry : *dictionary)
        pending.insert(pending.end(), {entry.key.get(), entry.value.get()});
    }
  }
  return count;
}

Ref<NSObject> readOurs(const Ref<NSData>& data) {
  return NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
      data, NSPropertyListImmutable, nullptr, nullptr);
}

Ref<NSData> writeOurs(const Ref<NSObject>& value) {
  return NSPropertyListSerialization::dataFromPropertyList_format_errorDescription(value, NSPropertyListXMLFormat_v1_0,
                                                                                   nullptr);
}

struct Times {
  Samples read, destroy, write;
};

void runOurs(const Ref<NSData>& data, Times& times) {
  Ref<NSObject> value;
  times.read.push_back(processorMilliseconds([&] { value = readOurs(data); }));
  require(static_cast<bool>(value), "reading");
  Ref<NSData> written;
  times.write.push_back(processorMilliseconds([&] { written = writeOurs(value); }));
  require(static_cast<bool>(written), "writing");
  times.destroy.push_back(processorMilliseconds([&] { value.reset(); }));
}

void runLibplist([[maybe_unused]] const std::string& text, [[maybe_unused]] Times& times) {
#if ZT_BENCH_HAS_LIBPLIST
  plist_t value = nullptr;
  times.read.push_back(
      processorMilliseconds([&] { plist_from_xml(text.data(), static_cast<std::uint32_t>(text.size()), &value); }));
  require(value != nullptr, "reading with libplist");
  char* written = nullptr;
  std::uint32_t length = 0;
  times.write.push_back(processorMilliseconds([&] { plist_to_xml(value, &written, &length); }));
  require(written != nullptr, "writing with libplist");
  plist_to_xml_free(written);
  times.destroy.push_back(processorMilliseconds([&] { plist_free(value); }));
#endif
}

void runPugixml([[maybe_unused]] const std::string& text, [[maybe_unused]] Times& times) {
#if ZT_BENCH_HAS_PUGIXML
  auto document = std::make_unique<pugi::xml_document>();
  bool good = false;
  times.read.push_back(processorMilliseconds([&] { good = document->load_buffer(text.data(), text.size()); }));
  require(good, "reading with pugixml");
  times.destroy.push_back(processorMilliseconds([&] { document.reset(); }));
#endif
}

void runPython(const std::string& path, Times& times) {
  const std::vector<double> figures = bench::python(
      "import plistlib, time\n"
      "text = open(\"" +
          path +
          "\", \"rb\").read()\n"
          "begin = time.process_time(); value = plistlib.loads(text); middle = time.process_time()\n"
          "plistlib.dumps(value, sort_keys=False); end = time.process_time()\n"
          "print(1e3 * (middle - begin), 1e3 * (end - middle))",
      2);
  if (figures.empty()) return;
  times.read.push_back(figures[0]);
  times.write.push_back(figures[1]);
}

Samples heapOfEachValue(const Ref<NSData>& data) {
  malloc_trim(0);
  const std::size_t before = heapInUse();
  const Ref<NSObject> value = readOurs(data);
  const std::size_t used = heapInUse() - before;
  return {static_cast<double>(used) / static_cast<double>(countValues(*value))};
}

void compareNative(const bench::Report& report, std::size_t megabytes, std::size_t rounds) {
  const std::string text = bench::MediaLibrary::xml(megabytes * 1000 * 1000);
  const Ref<NSData> data = NSData::dataWithBytes(text);
  Times ours, libplist, pugixml;
  bench::takeTurns(
      rounds, {[&] { runOurs(data, ours); }, [&] { runLibplist(text, libplist); }, [&] { runPugixml(text, pugixml); }});
  const std::string size = std::to_string(megabytes) + " MB";
  report.add({"read, " + size, "ms", ours.read, "libplist", libplist.read, 0.30});
  report.add({"read, " + size, "ms", ours.read, "pugixml, bare parse", pugixml.read, 1.5});
  report.add({"write, " + size, "ms", ours.write, "libplist", libplist.write, 0.25});
  report.add({"release, " + size, "ms", ours.destroy, "libplist", libplist.destroy});
  report.addLimit("heap for a value or key", "bytes", heapOfEachValue(data), kMostBytesOfHeap);
}

void comparePython(const bench::Report& report, std::size_t megabytes, std::size_t rounds) {
  const bench::Scratch folder;
  const std::string path = folder.path() + "/library.plist";
  const std::string text = bench::MediaLibrary::xml(megabytes * 1000 * 1000);
  std::ofstream(path) << text;
  const Ref<NSData> data = NSData::dataWithBytes(text);
  Times ours, python;
  bench::takeTurns(rounds, {[&] { runOurs(data, ours); }, [&] { runPython(path, python); }});
  const std::string size = std::to_string(megabytes) + " MB";
  report.add({"read, " + size, "ms", ours.read, "Python's plistlib", python.read});
  report.add({"write, " + size, "ms", ours.write, "Python's plistlib", python.write});
}

}  // namespace

int main() {
  const bench::Report report("Property lists as XML");
  compareNative(report, bench::fullOrQuick(50U, 2U), bench::fullOrQuick(11U, 5U));
  comparePython(report, bench::fullOrQuick(5U, 1U), 3);
}
