/// \file ShiftJIS.h
/// Shift-JIS as code page 932 has it, by tables of our own: they are several times as fast as a general converter.
#pragma once

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace ZtFoundation {

class ShiftJIS {
 public:
  /// Made on first use, from the converter library's data.
  static const ShiftJIS& shared();

  std::optional<std::u16string> decode(std::string_view bytes) const;
  std::optional<std::string> encode(std::u16string_view units, bool lossy) const;

 private:
  static constexpr std::size_t kTrails = 0xC0;
  using Units = std::array<char16_t, 0x100 * kTrails>;
  using Codes = std::array<char16_t, 0x10000>;

  ShiftJIS();
  void readUnits();
  void addCodes(unsigned firstLead, unsigned lastLead);
  void addOtherForms();
  char16_t unitOf(unsigned char lead, unsigned char trail) const;

  std::unique_ptr<Units> units_ = std::make_unique<Units>();  // of lead * kTrails + trail - 0x40; 0: undefined
  std::unique_ptr<Codes> codes_ = std::make_unique<Codes>();  // of a unit; 0: undefined
};

}  // namespace ZtFoundation
