// Reading and writing a music library as an XML property list, beside libplist (tree and text of the same values) and the bare
// parse of pugixml (a tree of text pieces, no values). Runs take turns, so that a busy moment meets all of them.
//
//   bench-XMLCodec [MEGABYTES...]     default: 1 5 50
//
// Aims at 50 MB: read at most 0.30 of libplist, write at most 0.25 of libplist, 80 bytes of heap per value or key.

#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/PropertyListSerialization.h>

#include "support/MediaLibrary.h"

#if ZT_BENCH_HAS_LIBPLIST
#include <plist/plist.h>
#endif
#if ZT_BENCH_HAS_PUGIXML
#include <pugixml.hpp>
#endif

using namespace ZtFoundation;

namespace {

using Clock = std::chrono::steady_clock;

double milliseconds(const std::function<void()>& work) {
  const auto start = Clock::now();
  work();
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double median(std::vector<double> values) {
  if (values.empty()) return 0;
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

std::size_t heapInUse() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

void require(bool good, const char* what) {
  if (good) return;
  std::fprintf(stderr, "%s failed\n", what);
  std::exit(1);
}

struct Times {
  std::vector<double> read, destroy, write;
};

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

void runOurs(const Ref<NSData>& data, Times& times) {
  Ref<NSObject> value;
  times.read.push_back(milliseconds([&] { value = readOurs(data); }));
  require(static_cast<bool>(value), "reading");
  Ref<NSData> written;
  times.write.push_back(milliseconds([&] { written = writeOurs(value); }));
  require(static_cast<bool>(written), "writing");
  times.destroy.push_back(milliseconds([&] { value.reset(); }));
}

void runLibplist([[maybe_unused]] const std::string& text, [[maybe_unused]] Times& times) {
#if ZT_BENCH_HAS_LIBPLIST
  plist_t value = nullptr;
  times.read.push_back(
      milliseconds([&] { plist_from_xml(text.data(), static_cast<std::uint32_t>(text.size()), &value); }));
  require(value != nullptr, "reading with libplist");
  char* written = nullptr;
  std::uint32_t length = 0;
  times.write.push_back(milliseconds([&] { plist_to_xml(value, &written, &length); }));
  require(written != nullptr, "writing with libplist");
  plist_to_xml_free(written);
  times.destroy.push_back(milliseconds([&] { plist_free(value); }));
#endif
}

void runPugixml([[maybe_unused]] const std::string& text, [[maybe_unused]] Times& times) {
#if ZT_BENCH_HAS_PUGIXML
  auto document = std::make_unique<pugi::xml_document>();
  bool good = false;
  times.read.push_back(milliseconds([&] { good = document->load_buffer(text.data(), text.size()); }));
  require(good, "reading with pugixml");
  times.destroy.push_back(milliseconds([&] { document.reset(); }));
#endif
}

void printRow(const char* what, double ours, double libplist, double pugixml) {
  std::printf("  %-8s ours %9.2f ms", what, ours);
  if (libplist > 0) std::printf("   libplist %9.2f ms (ours is %.2f of it)", libplist, ours / libplist);
  if (pugixml > 0) std::printf("   pugixml %9.2f ms (ours is %.2f of it)", pugixml, ours / pugixml);
  std::printf("\n");
}

void printHeap(const Ref<NSData>& data) {
  malloc_trim(0);
  const std::size_t before = heapInUse();
  const Ref<NSObject> value = readOurs(data);
  const std::size_t used = heapInUse() - before;
  const std::size_t values = countValues(*value);
  std::printf("  heap     %.1f MB for %zu values and keys: %.1f bytes each\n", static_cast<double>(used) / 1e6, values,
              static_cast<double>(used) / static_cast<double>(values));
}

void compare(std::size_t megabytes) {
  const std::string text = bench::MediaLibrary::xml(megabytes * 1000 * 1000);
  const Ref<NSData> data = NSData::dataWithBytes(text);
  const std::size_t rounds = std::clamp<std::size_t>(400 / megabytes, 3, 21);
  Times ours, libplist, pugixml;
  for (std::size_t round = 0; round < rounds; ++round) {
    runOurs(data, ours);
    runLibplist(text, libplist);
    runPugixml(text, pugixml);
  }
  std::printf("%zu MB, median of %zu (ours reads %.0f MB/s)\n", megabytes, rounds,
              static_cast<double>(text.size()) / 1000 / median(ours.read));
  printRow("read", median(ours.read), median(libplist.read), median(pugixml.read));
  printRow("write", median(ours.write), median(libplist.write), 0);
  printRow("destroy", median(ours.destroy), median(libplist.destroy), median(pugixml.destroy));
  printHeap(data);
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::size_t> sizes;
  for (int at = 1; at < argc; ++at) sizes.push_back(std::strtoul(argv[at], nullptr, 10));
  if (sizes.empty()) sizes = {1, 5, 50};
  for (const std::size_t size : sizes) compare(std::max<std::size_t>(size, 1));
}
