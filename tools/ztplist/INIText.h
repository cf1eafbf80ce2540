/// \file INIText.h
/// INI files as text: changing one entry without touching the rest (comments, order, quotes), and what the reader would
/// drop.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace ztplist {

/// `text` with the entry of the section set to `value`, both made if they are missing. Where a section or an entry
/// stands more than once, the one that counts when the file is read is changed.
std::string setINIEntry(std::string_view text, std::string_view section, std::string_view key, std::string_view value);
/// `text` without the entry.
std::string removeINIEntry(std::string_view text, std::string_view section, std::string_view key);
/// `text` without any section of that name. Comments directly above the header that follows belong to that header and
/// stay.
std::string removeINISection(std::string_view text, std::string_view section);

/// Tells what reading `text` loses without a word, fault by fault: "line 3: ...".
void findINIFaults(std::string_view text, const std::function<void(const std::string&)>& tell);

}  // namespace ztplist
