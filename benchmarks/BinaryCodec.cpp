// Reading and writing a music library as a binary property list, beside libplist, which reads the same bytes and writes
// the same values as XML; its binary writer takes time that grows with the square of the size.

#include <cstdint>
#include <string>
#include <utility>

#include <ZtFoundation/platform/PropertyListSerialization.h>

#include "support/MediaLibrary.h"
#include "support/Report.h"

#if ZT_BENCH_HAS_LIBPLIST
#include <plist/plist.h>
#endif

using namespace ZtFoundation;

namespace {

using bench::require;
using bench::Samples;
using bench::undisturbedMilliseconds;

struct Times {
  Samples read, destroy, write;
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
  times.write.push_back(undisturbedMilliseconds([&] { written = writeOurs(value); }));
  require(written && written->length() == data->length(), "writing");
  Ref<NSObject> back;
  times.read.push_back(undisturbedMilliseconds([&] { back = readOurs(data, option); }));
  require(static_cast<bool>(back), "reading");
  times.destroy.push_back(undisturbedMilliseconds([&] { back.reset(); }));
}

#if ZT_BENCH_HAS_LIBPLIST
void runLibplist(const Ref<NSData>& data, Times& times) {
  plist_t value = nullptr;
  times.read.push_back(undisturbedMilliseconds([&] {
    plist_from_bin(static_cast<const char*>(data->bytes()), static_cast<std::uint32_t>(data->length()), &value);
  }));
  require(value != nullptr, "reading with libplist");
  char* written = nullptr;
  std::uint32_t length = 0;
  times.write.push_back(undisturbedMilliseconds([&] { plist_to_xml(value, &written, &length); }));
  require(written != nullptr, "writing XML with libplist");
  plist_to_xml_free(written);
  times.destroy.push_back(undisturbedMilliseconds([&] { plist_free(value); }));
}
#else
void runLibplist(const Ref<NSData>&, Times&) {}
#endif

}  // namespace

int main() {
  const std::size_t megabytes = bench::fullOrQuick(50U, 2U), rounds = bench::fullOrQuick(9U, 5U);
  const Ref<NSObject> value = readOurs(NSData::dataWithBytes(bench::MediaLibrary::xml(megabytes * 1000 * 1000)));
  require(static_cast<bool>(value), "reading XML");
  const Ref<NSData> data = writeOurs(value);
  require(static_cast<bool>(data), "writing");
  Times immutable, containers, libplist;
  bench::takeTurns(rounds, {[&] { runOurs(value, data, NSPropertyListImmutable, immutable); },
                            [&] { runOurs(value, data, NSPropertyListMutableContainers, containers); },
                            [&] { runLibplist(data, libplist); }});

  const bench::Report report("Property lists as binary");
  const std::string size = std::to_string(megabytes) + " MB as XML";
  report.add({"read, " + size, "ms", immutable.read, "libplist", libplist.read, 0.4});
  report.add({"read mutable, " + size, "ms", containers.read, "libplist", libplist.read});
  report.add({"write, " + size, "ms", immutable.write, "libplist, writing XML", libplist.write, 1});
  report.add({"release, " + size, "ms", immutable.destroy, "libplist", libplist.destroy});
}
