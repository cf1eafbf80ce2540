// Reading and writing a music library as a binary property list, beside libplist, which reads the same bytes and writes the same
// values as XML; its binary writer takes time that grows with the square of the size. Runs take turns, so that a busy moment meets all of them.
//
//   bench-BinaryCodec [MEGABYTES...]     sizes of the library as XML; default: 1 5 50
//
// Aims at 50 MB: read at most 0.40 of libplist, write no slower than libplist writes XML, both linear.

#include <malloc.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include <ZtFoundation/platform/PropertyListSerialization.h>

#include "support/MediaLibrary.h"
#include "support/Timing.h"

#if ZT_BENCH_HAS_LIBPLIST
#include <plist/plist.h>
#endif

using namespace ZtFoundation;

namespace {

using bench::median;
using bench::require;

// What was freed before is put in order at the cost of the run that freed it.
template <class Work>
double milliseconds(Work&& work) {
  malloc_trim(0);
  return bench::processorMilliseconds(std::forward<Work>(work));
}

struct Times {
  std::vector<double> read, destroy, write;
};

Ref<NSObject> readOurs(const Ref<NSData>& data, NSUInteger option = NSPropertyListImmutable) {
  return NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(data, option,
                                                                                                    nullptr, nullptr);
}

Ref<NSData> writeOurs(const Ref<NSObject>& value) {
  return NSPropertyListSerialization::dataFromPropertyList_format_errorDescription(
      value, NSPropertyListBinaryFormat_v1_0, nullptr);
}

// `value` was not read from binary, so that nothing in it is shared yet.
void runOurs(const Ref<NSObject>& value, const Ref<NSData>& data, NSUInteger option, Times& times) {
  Ref<NSData> written;
  times.write.push_back(milliseconds([&] { written = writeOurs(value); }));
  require(written && written->length() == data->length(), "writing");
  Ref<NSObject> back;
  times.read.push_back(milliseconds([&] { back = readOurs(data, option); }));
  require(static_cast<bool>(back), "reading");
  times.destroy.push_back(milliseconds([&] { back.reset(); }));
}

#if ZT_BENCH_HAS_LIBPLIST
void runLibplist(const Ref<NSData>& data, Times& times) {
  plist_t value = nullptr;
  times.read.push_back(milliseconds([&] {
    plist_from_bin(static_cast<const char*>(data->bytes()), static_cast<std::uint32_t>(data->length()), &value);
  }));
  require(value != nullptr, "reading with libplist");
  char* written = nullptr;
  std::uint32_t length = 0;
  times.write.push_back(milliseconds([&] { plist_to_xml(value, &written, &length); }));
  require(written != nullptr, "writing XML with libplist");
  plist_to_xml_free(written);
  times.destroy.push_back(milliseconds([&] { plist_free(value); }));
}
#else
void runLibplist(const Ref<NSData>&, Times&) {}
#endif

void printRow(const char* what, double ours, double theirs, const char* peer) {
  std::printf("  %-22s %9.2f ms", what, ours);
  if (theirs > 0) std::printf("   %s %9.2f ms (ours is %.2f of it)", peer, theirs, ours / theirs);
  std::printf("\n");
}

void compare(std::size_t megabytes) {
  const std::string text = bench::MediaLibrary::xml(megabytes * 1000 * 1000);
  const Ref<NSObject> value = readOurs(NSData::dataWithBytes(text));
  require(static_cast<bool>(value), "reading XML");
  const Ref<NSData> data = writeOurs(value);
  require(static_cast<bool>(data), "writing");

  const std::size_t rounds = std::clamp<std::size_t>(400 / megabytes, 3, 21);
  Times immutable, containers, libplist;
  for (std::size_t round = 0; round < rounds; ++round) {
    runOurs(value, data, NSPropertyListImmutable, immutable);
    runOurs(value, data, NSPropertyListMutableContainers, containers);
    runLibplist(data, libplist);
  }
  std::printf("%zu MB of XML, %.1f MB of binary, median of %zu\n", megabytes, static_cast<double>(data->length()) / 1e6,
              rounds);
  printRow("read", median(immutable.read), median(libplist.read), "libplist");
  printRow("read mutable", median(containers.read), median(libplist.read), "libplist");
  printRow("write", median(immutable.write), median(libplist.write), "libplist as XML");
  printRow("destroy", median(immutable.destroy), median(libplist.destroy), "libplist");
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::size_t> sizes;
  for (int at = 1; at < argc; ++at) sizes.push_back(std::strtoul(argv[at], nullptr, 10));
  if (sizes.empty()) sizes = {1, 5, 50};
  for (const std::size_t size : sizes) compare(std::max<std::size_t>(size, 1));
}
