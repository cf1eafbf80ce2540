/// \file TextMutator.h
/// Changes of text that mostly leave it well-formed: whole tokens are moved, repeated, left out and enclosed, so that
/// what nests gets deep.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// libFuzzer's own changes.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t largest);

namespace ZtFoundation::fuzz {

struct Enclosure {
  std::string_view before, behind;
};

struct Grammar {
  std::string_view firsts;  ///< characters with which a token begins
  std::string_view lasts;   ///< those with which one ends
  std::span<const Enclosure> enclosures;
  std::span<const std::string_view> pieces;  ///< whole values
};

class TextMutator {
 public:
  TextMutator(const Grammar& grammar, unsigned seed) : grammar_(grammar), random_(seed) {}

  std::size_t mutate(std::uint8_t* data, std::size_t size, std::size_t largest) {
    if (below(4) == 0) return LLVMFuzzerMutate(data, size, largest);
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    std::vector<std::string> tokens = tokensIn(text);
    change(tokens);
    std::string changed;
    for (const std::string& token : tokens) changed += token;
    if (changed.empty() || changed.size() > largest || changed == text) return LLVMFuzzerMutate(data, size, largest);
    std::memcpy(data, changed.data(), changed.size());
    return changed.size();
  }

 private:
  using Tokens = std::vector<std::string>;

  std::size_t below(std::size_t limit) { return limit == 0 ? 0 : random_() % limit; }

  Tokens tokensIn(std::string_view text) const {
    Tokens tokens(1);
    for (const char byte : text) {
      if (grammar_.firsts.find(byte) != std::string_view::npos && !tokens.back().empty()) tokens.emplace_back();
      tokens.back() += byte;
      if (grammar_.lasts.find(byte) != std::string_view::npos) tokens.emplace_back();
    }
    return tokens;
  }

  void change(Tokens& tokens) {
    const std::size_t first = below(tokens.size());
    const std::size_t end = first + 1 + below(std::min<std::size_t>(tokens.size() - first, 8));
    const auto at = [&](std::size_t index) {
      return tokens.begin() + static_cast<std::ptrdiff_t>(std::min(index, tokens.size()));
    };
    const auto place = static_cast<std::ptrdiff_t>(below(tokens.size() + 1));
    switch (below(6)) {
      case 0:
        tokens.erase(at(first), at(end));
        break;
      case 1: {
        const Tokens copy(at(first), at(end));
        tokens.insert(tokens.begin() + place, copy.begin(), copy.end());
        break;
      }
      case 2:
        std::swap(tokens[first], tokens[below(tokens.size())]);
        break;
      case 3: {
        const Enclosure& one = grammar_.enclosures[below(grammar_.enclosures.size())];
        tokens.insert(at(end), std::string(one.behind));
        tokens.insert(at(first), std::string(one.before));
        break;
      }
      case 4:
        tokens.insert(tokens.begin() + place, std::string(grammar_.pieces[below(grammar_.pieces.size())]));
        break;
      default:
        changeInside(tokens[first]);
    }
  }

  static void changeInside(std::string& token) {
    constexpr std::size_t kGrowth = 16;
    const std::size_t size = token.size();
    token.resize(size + kGrowth);
    token.resize(LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(token.data()), size, token.size()));
  }

  const Grammar& grammar_;
  std::minstd_rand random_;
};

}  // namespace ZtFoundation::fuzz
