#include "platform/codec/XMLKeys.h"

#include <functional>
#include <utility>

#include <ZtFoundation/platform/Dictionary.h>

namespace ZtFoundation::codec {

namespace {

constexpr std::size_t kFirstSlots = 64;
// Texts chosen to meet in one slot end here, and then no longer share their strings.
constexpr std::size_t kLongestSearch = 32;

std::size_t hashOf(std::string_view text) noexcept { return std::hash<std::string_view>{}(text); }

}  // namespace

const XMLKey* XMLKeys::find(std::string_view text) noexcept {
  if (slots_.empty()) return nullptr;
  XMLKey* const found = slots_[slotOf(text)];
  return found != nullptr && found->text == text ? &follow(*found) : nullptr;
}

const XMLKey& XMLKeys::add(std::string_view text, bool isPlain, Ref<NSString> string) {
  if (keys_.size() * 2 >= slots_.size()) grow();
  if (!isPlain) text = texts_.emplace_back(text);
  const std::uint32_t hash = NSDictionary::hashOfKey(*string);
  XMLKey& key = keys_.emplace_back(XMLKey{text, std::move(string), hash, isPlain, nullptr});
  slots_[slotOf(text)] = &key;
  return follow(key);
}

// Makes `key` what is guessed the next time its predecessor was read. Only plain texts can be compared with the
// document.
const XMLKey& XMLKeys::follow(XMLKey& key) noexcept {
  if (last_ != nullptr && key.isPlain) last_->next = &key;
  last_ = &key;
  return key;
}

// Where the key with the text is or may be put.
std::size_t XMLKeys::slotOf(std::string_view text) const noexcept {
  const std::size_t mask = slots_.size() - 1;
  std::size_t slot = hashOf(text) & mask;
  for (std::size_t tries = 1; tries < kLongestSearch && slots_[slot] != nullptr && slots_[slot]->text != text;
       ++tries) {
    slot = (slot + 1) & mask;
  }
  return slot;
}

void XMLKeys::grow() {
  const std::size_t size = slots_.empty() ? kFirstSlots : slots_.size() * 2;
  slots_.assign(size, nullptr);
  for (XMLKey& key : keys_) slots_[slotOf(key.text)] = &key;
}

}  // namespace ZtFoundation::codec
