#include "Failure.h"

#include <cstdio>
#include <exception>
#include <new>

namespace ztplist {

namespace {

bool isControl(unsigned char byte) { return byte < 0x20 || byte == 0x7F; }

}  // namespace

Exit complainAboutException(const std::string& prefix) {
  try {
    throw;
  } catch (const Failure& failure) {
    complain(failure.what());
    return failure.code();
  } catch (const std::bad_alloc&) {
    complain(prefix + "out of memory");
    return Exit::InputOutput;
  } catch (const std::length_error&) {  // More than any memory could hold.
    complain(prefix + "out of memory");
    return Exit::InputOutput;
  } catch (const std::exception& error) {
    complain(prefix + error.what());
    return Exit::Invalid;
  }
}

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
