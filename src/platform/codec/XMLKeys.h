/// \file XMLKeys.h
/// The keys of one document: equal keys share one string, whose hash is known.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include <ZtFoundation/platform/String.h>

namespace ZtFoundation::codec {

struct XMLKey {
  std::string_view text;  ///< UTF-8
  Ref<NSString> string;
  std::uint32_t hash = 0;        ///< under which dictionaries file the string
  bool isPlain = false;          ///< the text stands as it is between the tags
  const XMLKey* next = nullptr;  ///< the key that came after this one the last time
};

/// Dictionaries of one document tend to have the same keys in the same order, so the key that comes next is guessed
/// first and only looked up when the guess was wrong.
class XMLKeys {
 public:
  /// The guess, when `rest` begins with its text and the end tag of a key; else null.
  const XMLKey* guess(std::string_view rest) noexcept;
  /// The key with the text, null when it is new.
  const XMLKey* find(std::string_view text) noexcept;
  /// Adds a key that `find` did not find. `isPlain` texts must outlive this table, others are copied.
  const XMLKey& add(std::string_view text, bool isPlain, Ref<NSString> string);

 private:
  const XMLKey& follow(XMLKey& key) noexcept;
  std::size_t slotOf(std::string_view text) const noexcept;
  void grow();

  std::deque<XMLKey> keys_;
  std::deque<std::string> texts_;
  std::vector<XMLKey*> slots_;
  XMLKey* last_ = nullptr;
};

/// The end tag of keys as every program writes it.
inline constexpr char kKeyEndTag[] = "</key>";
inline constexpr std::size_t kKeyEndTagLength = sizeof kKeyEndTag - 1;

inline const XMLKey* XMLKeys::guess(std::string_view rest) noexcept {
  const XMLKey* const key = last_ != nullptr ? last_->next : nullptr;
  if (key == nullptr || !rest.starts_with(key->text)) return nullptr;
  rest.remove_prefix(key->text.size());
  if (!rest.starts_with(kKeyEndTag)) return nullptr;
  last_ = const_cast<XMLKey*>(key);
  return key;
}

}  // namespace ZtFoundation::codec
