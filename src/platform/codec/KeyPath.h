/// \file KeyPath.h
/// How writers say which value they fail at.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>

namespace ZtFoundation::codec {

/// `what` as a sentence that names the way to the value at hand, such as "... at /Tracks/12/Name."; `step` gives the
/// key or index at each of the `depth` levels, of which only the first are shown.
template <class Step>
std::string failureAt(const std::string& what, std::size_t depth, Step step) {
  constexpr std::size_t kLongest = 16;
  std::string path;
  for (std::size_t level = 0; level < std::min(depth, kLongest); ++level) path += '/' + step(level);
  if (depth > kLongest) path += "/...";
  return what + (path.empty() ? "." : " at " + path + ".");
}

}  // namespace ZtFoundation::codec
