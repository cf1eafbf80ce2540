// Any bytes as the access list of a file that is copied without its list, its owner or its group: on the copy nobody
// gets more than the file gave to those who are meant.

#include <sys/stat.h>

#include <string>

#include "Input.h"
#include "platform/linux/files/FileAttributes.h"

using namespace ZtFoundation;
using namespace ZtFoundation::fuzz;

namespace {

constexpr mode_t kAll = 07;
constexpr std::size_t kVersionSize = 4, kEntrySize = 8;

bool isWithin(mode_t rights, mode_t bound) { return (rights & ~bound & kAll) == 0; }

struct Rights {
  mode_t ofNamed = kAll;  // which each user and each group has that is named
  mode_t ofGroup = 0;
};

Rights rightsIn(std::string_view list) {
  if (list.size() < kVersionSize) return {.ofNamed = 0};
  Rights rights;
  for (std::size_t at = kVersionSize; at + kEntrySize <= list.size(); at += kEntrySize) {
    const auto given = static_cast<mode_t>(list[at + 2]);
    if (list[at] == 0x02 || list[at] == 0x08) rights.ofNamed &= given;
    if (list[at] == 0x04) rights.ofGroup |= given;
  }
  return rights;
}

void checkWithoutList(mode_t mode, mode_t copy, std::string_view list) {
  const Rights rights = rightsIn(list);
  require(isWithin(copy >> 3, rights.ofNamed) && isWithin(copy, rights.ofNamed), "not more than those named had");
  require(isWithin(copy >> 3, rights.ofGroup), "the group had it");
  require(rights.ofNamed == kAll || isWithin(copy, mode >> 3), "nor more than the list gave to anybody");
}

void check(mode_t mode, const detail::Kept& kept, const std::string& list) {
  struct stat status {};
  status.st_mode = mode;
  const mode_t copy = detail::permissionsOfCopy(status, kept, list);
  require((copy & S_IRWXU) == (mode & S_IRWXU), "the owner keeps what the owner had");
  require((copy & ~mode) == 0, "nobody gets what nobody of that kind had");
  require(kept.owner || (copy & S_ISUID) == 0, "a program of another owner does not become the new owner's");
  require(kept.group || (copy & S_ISGID) == 0, "nor the new group's");
  require(kept.group || isWithin(copy >> 3, copy), "a new group gets no more than others");
  if (!kept.group || !kept.accessList) checkWithoutList(mode, copy, list);
}

}  // namespace

// The first two bytes are permissions, the third what was kept.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const mode_t mode = (input.takeByte() << 8 | input.takeByte()) & 07777;
  const unsigned kept = input.takeByte();
  check(mode, {.owner = (kept & 1) != 0, .group = (kept & 2) != 0, .accessList = (kept & 4) != 0},
        std::string(input.rest()));
  return 0;
}
