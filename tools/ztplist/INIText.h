/// \file INIText.h
/// INI files as text: changing one entry without touching the rest (comments, order, quotes), and what the reader would
/// drop.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ztplist {

/// `text` with the entry of the section set to `value`, both made if they are missing. Where a section or an entry
/// stands more than once, the one that counts when the file is read is changed.
std::string setINIEntry(std::string_view text, std::string_view section, std::string_view key, std::string_view value);
/// `text` without the entry.
std::string removeINIEntry(std::string_view text, std::string_view section, std::string_view key);
/// `text` without any section of that name.
std::string removeINISection(std::string_view text, std::string_view section);

/// What reading `text` loses without a word, a line of text each: "line 3: ...".
std::vector<std::string> findINIFaults(std::string_view text);

}  // namespace ztplist
