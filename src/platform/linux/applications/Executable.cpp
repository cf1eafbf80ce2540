#include "platform/linux/applications/Executable.h"

#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <string_view>

#include "platform/linux/files/FileDescriptor.h"

// The ELF header of the code that this is part of; the linker supplies it.
extern "C" [[gnu::visibility("hidden")]] const ElfW(Ehdr) __ehdr_start;

namespace ZtFoundation::detail {

namespace {

// What the system itself reads of a program to tell what it is.
constexpr std::size_t kHeadSize = 256;
constexpr int kDeepestInterpreter = 5;

// Pipes and devices are not even opened, since that alone may set something going.
std::string headOf(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
  constexpr int flags = O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
  const FileDescriptor file(retryInterrupted([&] { return ::open(path.c_str(), flags); }));
  std::string head(kHeadSize, '\0');
  const ssize_t got = retryInterrupted([&] { return ::pread(file.get(), head.data(), head.size(), 0); });
  head.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
  return head;
}

bool isForThisMachine(std::string_view head) {
  ElfW(Ehdr) header;
  if (head.size() < sizeof header) return false;
  std::memcpy(&header, head.data(), sizeof header);
  return std::memcmp(header.e_ident, __ehdr_start.e_ident, EI_VERSION + 1) == 0 &&
         header.e_machine == __ehdr_start.e_machine && (header.e_type == ET_EXEC || header.e_type == ET_DYN);
}

// The first word after "#!"; empty when there is none, or it may have been cut.
std::string interpreterIn(std::string_view head) {
  head.remove_prefix(2);
  const std::string_view line = head.substr(0, head.find('\n'));
  const bool isCut = line.size() == kHeadSize - 2;
  const std::size_t start = line.find_first_not_of(" \t");
  if (start == std::string_view::npos) return {};
  const std::size_t end = line.find_first_of(std::string_view(" \t\0", 3), start);
  if (end == std::string_view::npos && isCut) return {};
  return std::string(line.substr(start, end - start));
}

bool isNative(const std::string& path, int depth) {
  const std::string head = headOf(path);
  if (!head.starts_with("#!")) return isForThisMachine(head);
  return depth < kDeepestInterpreter && isNative(interpreterIn(head), depth + 1);
}

}  // namespace

bool isNativeProgram(const std::string& path) { return isNative(path, 0); }

}  // namespace ZtFoundation::detail
