/// \file Charsets.h
/// Charsets by their registered names.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace ZtFoundation::charsets {

std::optional<std::string> registeredName(std::string_view name);
std::optional<std::uint32_t> index(const std::string& registeredName);
std::optional<std::string> atIndex(std::uint32_t index);
std::optional<std::u16string> decode(const std::string& charset, std::string_view bytes);
std::optional<std::string> encode(const std::string& charset, std::u16string_view units, bool lossy);

}  // namespace ZtFoundation::charsets
