/// \file Descriptor.h
/// An open file that is closed again.
#pragma once

#include <unistd.h>

namespace ztplist {

/// Owns the descriptor unless it is that of a standard stream, or an error.
class Descriptor {
 public:
  explicit Descriptor(int number) noexcept : number_(number) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (number_ > STDERR_FILENO) ::close(number_);
  }
  int get() const noexcept { return number_; }

 private:
  int number_;
};

}  // namespace ztplist
