#include "Failure.h"

#include <cstdio>

namespace ztplist {

namespace {

bool isControl(unsigned char byte) { return byte < 0x20 || byte == 0x7F; }

}  // namespace

void complain(const std::string& text) {
  constexpr char kHexDigits[] = "0123456789abcdef";
  std::string line = "ztplist: ";
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (isControl(byte)) {
      line += {'\\', 'x', kHexDigits[byte >> 4U], kHexDigits[byte & 15U]};
    } else {
      line += character;
    }
  }
  line += '\n';
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace ztplist
