#include "INIText.h"

#include <algorithm>
#include <array>
#include <map>

#include <ZtFoundation/platform/String.h>

namespace ztplist {

using namespace ZtFoundation;

namespace {

enum class LineKind { Empty, Comment, Header, Entry, Short, Other };

struct Line {
  std::size_t begin = 0;
  std::size_t contentsEnd = 0;
  std::size_t end = 0;
  LineKind kind = LineKind::Empty;
  std::string_view name;  // of the section or the entry
  std::string_view section;
  bool isInSection = false;
};

// CR LF, LF, CR, U+0085, U+2028 and U+2029.
constexpr std::array<std::string_view, 6> kTerminators{"\r\n", "\n", "\r", "\xC2\x85", "\xE2\x80\xA8", "\xE2\x80\xA9"};

std::size_t terminatorLength(std::string_view rest) {
  for (const auto terminator : kTerminators) {
    if (rest.starts_with(terminator)) return terminator.size();
  }
  return 0;
}

std::size_t findTerminator(std::string_view text, std::size_t from) {
  while (from < text.size()) {
    from = text.find_first_of("\r\n\xC2\xE2", from);
    if (from == std::string_view::npos) break;
    if (terminatorLength(text.substr(from)) > 0) return from;
    ++from;
  }
  return text.size();
}

// The reader counts UTF-16 units, of which no unit takes more than three bytes.
bool isShort(std::string_view contents) {
  constexpr std::size_t kFewestUnits = 3;
  return contents.size() < 3 * kFewestUnits && Ref<NSString>(contents)->length() < kFewestUnits;
}

void classify(Line& line, std::string_view contents) {
  const std::size_t equals = contents.find('=');
  if (contents.empty()) {
    line.kind = LineKind::Empty;
  } else if (contents.front() == ';') {
    line.kind = LineKind::Comment;
  } else if (isShort(contents)) {
    line.kind = LineKind::Short;
  } else if (contents.front() == '[' && contents.back() == ']') {
    line.kind = LineKind::Header;
    line.name = contents.substr(1, contents.size() - 2);
  } else if (equals != std::string_view::npos) {
    line.kind = LineKind::Entry;
    line.name = contents.substr(0, equals);
  } else {
    line.kind = LineKind::Other;
  }
}

std::vector<Line> linesOf(std::string_view text) {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  std::vector<Line> lines;
  Line line;
  for (std::size_t at = text.starts_with(kMark) ? kMark.size() : 0; at < text.size(); at = line.end) {
    line.begin = at;
    line.contentsEnd = findTerminator(text, at);
    line.end = line.contentsEnd + terminatorLength(text.substr(line.contentsEnd));
    classify(line, text.substr(at, line.contentsEnd - at));
    if (line.kind == LineKind::Header) {
      line.section = line.name;
      line.isInSection = true;
    }
    lines.push_back(line);
  }
  return lines;
}

using Lines = std::vector<Line>;

bool isHeaderOf(const Line& line, std::string_view section) {
  return line.kind == LineKind::Header && line.name == section;
}

bool isEntryOf(const Line& line, std::string_view section, std::string_view key) {
  return line.kind == LineKind::Entry && line.isInSection && line.section == section && line.name == key;
}

// The header of the section as it counts: the last of its name.
Lines::const_reverse_iterator findHeader(const Lines& lines, std::string_view section) {
  return std::ranges::find_if(lines.rbegin(), lines.rend(),
                              [&](const Line& line) { return isHeaderOf(line, section); });
}

std::string lineEndOf(std::string_view text, const Line& line) {
  return line.end > line.contentsEnd ? std::string(text.substr(line.contentsEnd, line.end - line.contentsEnd)) : "\n";
}

std::string entryText(std::string_view key, std::string_view value) {
  return std::string(key) + "=" + std::string(value);
}

std::string appendSection(std::string_view text, const Lines& lines, std::string_view section,
                          const std::string& entry) {
  const std::string lineEnd = lines.empty() ? "\n" : lineEndOf(text, lines.front());
  std::string result(text);
  if (!lines.empty() && lines.back().end == lines.back().contentsEnd) result += lineEnd;
  if (!lines.empty() && lines.back().kind != LineKind::Empty) result += lineEnd;
  return result + "[" + std::string(section) + "]" + lineEnd + entry + lineEnd;
}

std::string insertAfter(std::string_view text, const Line& line, const std::string& entry) {
  const std::string lineEnd = lineEndOf(text, line);
  return std::string(text.substr(0, line.contentsEnd)) + lineEnd + entry + std::string(text.substr(line.contentsEnd));
}

template <class Drops>
std::string without(std::string_view text, Drops drops) {
  std::string result(text);
  std::size_t kept = 0;
  const Lines lines = linesOf(text);
  if (!lines.empty()) kept = lines.front().begin;
  for (const Line& line : lines) {
    if (drops(line)) continue;
    kept += text.copy(result.data() + kept, line.end - line.begin, line.begin);
  }
  result.resize(kept);
  return result;
}

class FaultFinder {
 public:
  std::vector<std::string> find(std::string_view text) {
    std::size_t number = 0;
    for (const Line& line : linesOf(text)) examine(line, ++number);
    return std::move(faults_);
  }

 private:
  void examine(const Line& line, std::size_t number) {
    switch (line.kind) {
      case LineKind::Header:
        return enterSection(line, number);
      case LineKind::Entry:
        return checkEntry(line, number);
      case LineKind::Short:
        return report(number, "shorter than 3 characters, so it is dropped");
      case LineKind::Other:
        return report(number, "no [section], ;comment or key=value, so it is dropped");
      case LineKind::Empty:
      case LineKind::Comment:
        return;
    }
  }

  void enterSection(const Line& line, std::size_t number) {
    const auto [place, isNew] = sections_.try_emplace(line.name, number);
    if (!isNew) {
      report(number, "the section " + std::string(line.name) + " again, which drops that of line " +
                         std::to_string(place->second));
    }
    place->second = number;
    keys_.clear();
  }

  void checkEntry(const Line& line, std::size_t number) {
    if (!line.isInSection) return report(number, "an entry before the first [section], so it is dropped");
    const auto [place, isNew] = keys_.try_emplace(line.name, number);
    if (!isNew) {
      report(number,
             "the key " + std::string(line.name) + " again, which drops that of line " + std::to_string(place->second));
    }
    place->second = number;
  }

  void report(std::size_t number, const std::string& text) {
    faults_.push_back("line " + std::to_string(number) + ": " + text);
  }

  std::map<std::string_view, std::size_t> sections_;
  std::map<std::string_view, std::size_t> keys_;
  std::vector<std::string> faults_;
};

}  // namespace

std::string setINIEntry(std::string_view text, std::string_view section, std::string_view key, std::string_view value) {
  const Lines lines = linesOf(text);
  const std::string entry = entryText(key, value);
  const auto header = findHeader(lines, section);
  if (header == lines.rend()) return appendSection(text, lines, section, entry);
  const Line* last = &*header;
  const Line* present = nullptr;
  for (auto line = header.base(); line != lines.end() && line->kind != LineKind::Header; ++line) {
    if (isEntryOf(*line, section, key)) present = &*line;
    if (line->kind == LineKind::Entry) last = &*line;
  }
  if (present == nullptr) return insertAfter(text, *last, entry);
  return std::string(text.substr(0, present->begin)) + entry + std::string(text.substr(present->contentsEnd));
}

std::string removeINIEntry(std::string_view text, std::string_view section, std::string_view key) {
  return without(text, [&](const Line& line) { return isEntryOf(line, section, key); });
}

std::string removeINISection(std::string_view text, std::string_view section) {
  return without(text, [&](const Line& line) { return line.isInSection && line.section == section; });
}

std::vector<std::string> findINIFaults(std::string_view text) { return FaultFinder().find(text); }

}  // namespace ztplist
