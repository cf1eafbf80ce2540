// Stands in for libFuzzer where a compiler has none: runs the target once on each file named as an argument.

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// Only libFuzzer changes inputs.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t largest);
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t*, std::size_t size, std::size_t) { return size; }

namespace {

std::optional<std::vector<char>> contentsOf(const char* path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  return std::vector<char>(std::istreambuf_iterator<char>(file), {});
}

bool replay(const char* path) {
  const auto contents = contentsOf(path);
  if (!contents) {
    std::cerr << "cannot read " << path << '\n';
    return false;
  }
  // A copy of exactly the input's size, so that a sanitizer sees a read past its end.
  const std::vector<std::uint8_t> input(contents->begin(), contents->end());
  LLVMFuzzerTestOneInput(input.data(), input.size());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  bool allRead = true;
  for (int i = 1; i < argc; ++i) allRead = replay(argv[i]) && allRead;
  std::cout << argc - 1 << " inputs replayed\n";
  return allRead ? 0 : 1;
}
