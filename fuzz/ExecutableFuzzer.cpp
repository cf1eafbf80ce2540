// Any bytes as a program: the header of an ELF file, compared with reading it byte by byte, or the "#!" line of a
// script, which is what its interpreter is.

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <string>
#include <string_view>

#include "Input.h"
#include "platform/linux/applications/Executable.h"

using namespace ZtFoundation;
using namespace ZtFoundation::fuzz;
using detail::isNativeProgram;

namespace {

// A file in memory that is always found under the same path, so that a "#!" line can name it.
class File {
 public:
  explicit File(int number) : number_(number) {
    const int made = ::memfd_create("program", MFD_CLOEXEC);
    require(::dup3(made, number_, O_CLOEXEC) == number_ && ::close(made) == 0, "a file can be made");
  }
  std::string path() const { return "/proc/self/fd/" + std::to_string(number_); }
  void write(std::string_view bytes) const {
    require(::ftruncate(number_, 0) == 0, "it can be emptied");
    require(::pwrite(number_, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()), "and written");
  }

 private:
  const int number_;
};

const std::string& ownHeader() {
  static const std::string header = [] {
    std::array<char, 64> bytes{};
    const int file = ::open("/proc/self/exe", O_RDONLY | O_CLOEXEC);
    require(::read(file, bytes.data(), bytes.size()) == 64 && ::close(file) == 0, "this program can be read");
    return std::string(bytes.data(), bytes[4] == 1 ? 52 : 64);  // by the size of its words
  }();
  return header;
}

// Magic number, size of words, order of bytes, version and machine are those of this program, and it can be started.
bool isNativeHeader(std::string_view bytes) {
  const std::string& own = ownHeader();
  if (bytes.size() < own.size()) return false;
  const bool lowFirst = own[5] == 1;
  const char low = bytes[lowFirst ? 16 : 17], high = bytes[lowFirst ? 17 : 16];
  return bytes.substr(0, 7) == own.substr(0, 7) && bytes.substr(18, 2) == own.substr(18, 2) && high == 0 &&
         (low == 2 || low == 3);
}

// What stands between "#!" with blanks and the next blank, line end or zero; none when that is not seen in the bytes
// that count.
std::string interpreterIn(std::string_view bytes) {
  std::size_t at = 2;
  while (at < bytes.size() && (bytes[at] == ' ' || bytes[at] == '\t')) ++at;
  std::string name;
  for (; at < bytes.size(); ++at) {
    if (std::string_view(" \t\n\0", 4).find(bytes[at]) != std::string_view::npos) return name;
    name += bytes[at];
  }
  return bytes.size() == 256 ? std::string() : name;
}

bool isScript(std::string_view bytes) { return bytes.substr(0, 2) == "#!"; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const File native(900), program(901);
  const std::string_view bytes = Input(data, size).rest().substr(0, 1024);
  native.write(ownHeader());
  program.write(bytes);
  const bool isNative = isNativeProgram(program.path());
  if (!isScript(bytes)) {
    require(isNative == isNativeHeader(bytes), "a program is for this machine when its header is");
    return 0;
  }
  const std::string interpreter = interpreterIn(bytes.substr(0, 256));
  require(isNative == (!interpreter.empty() && isNativeProgram(interpreter)), "a script is what its interpreter is");
  require(interpreter != native.path() || isNative, "a native interpreter makes it native");
  require(interpreter != program.path() || !isNative, "an interpreter that needs itself never runs");
  return 0;
}
