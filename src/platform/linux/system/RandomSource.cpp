#include "platform/services/RandomSource.h"

#include <sys/random.h>

#include <cerrno>

namespace ZtFoundation {

namespace {

class KernelRandomSource : public RandomSource {
 public:
  bool fill(std::span<std::byte> bytes) override {
    while (!bytes.empty()) {
      const ssize_t got = getrandom(bytes.data(), bytes.size(), 0);
      if (got < 0 && errno == EINTR) continue;
      if (got <= 0) return false;
      bytes = bytes.subspan(static_cast<std::size_t>(got));
    }
    return true;
  }
};

}  // namespace

RandomSource& RandomSource::production() {
  static RandomSource& source = *new KernelRandomSource;  // never destroyed, so it answers during exit too
  return source;
}

}  // namespace ZtFoundation
