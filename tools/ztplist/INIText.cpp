#include "INIText.h"

#include <algorithm>
#include <array>
#include <map>
#include <utility>

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

  bool exists() const noexcept { return end > 0; }
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

std::size_t markLength(std::string_view text) {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  return text.starts_with(kMark) ? kMark.size() : 0;
}

// Line by line, since a line's description takes more room than a short line.
template <class Visitor>
void forEachLine(std::string_view text, Visitor visit) {
  Line line;
  for (std::size_t at = markLength(text); at < text.size(); at = line.end) {
    line.begin = at;
    line.contentsEnd = findTerminator(text, at);
    line.end = line.contentsEnd + terminatorLength(text.substr(line.contentsEnd));
    classify(line, text.substr(at, line.contentsEnd - at));
    if (line.kind == LineKind::Header) {
      line.section = line.name;
      line.isInSection = true;
    }
    visit(line);
  }
}

bool isHeaderOf(const Line& line, std::string_view section) {
  return line.kind == LineKind::Header && line.name == section;
}

bool isEntryOf(const Line& line, std::string_view section, std::string_view key) {
  return line.kind == LineKind::Entry && line.isInSection && line.section == section && line.name == key;
}

// Where an entry is to be set.
struct Place {
  Line first;    // of the file
  Line last;     // of the file
  Line before;   // the last entry of the section, or its header
  Line present;  // the entry as it is

  void pass(const Line& line, std::string_view section, std::string_view key) {
    if (!first.exists()) first = line;
    last = line;
    if (isHeaderOf(line, section)) {  // It makes those before of no account.
      before = line;
      present = {};
    }
    if (line.kind != LineKind::Entry || !line.isInSection || line.section != section) return;
    before = line;
    if (line.name == key) present = line;
  }
};

std::string lineEndOf(std::string_view text, const Line& line) {
  return line.end > line.contentsEnd ? std::string(text.substr(line.contentsEnd, line.end - line.contentsEnd)) : "\n";
}

std::string entryText(std::string_view key, std::string_view value) {
  return std::string(key) + "=" + std::string(value);
}

std::string appendSection(std::string_view text, const Place& place, std::string_view section,
                          const std::string& entry) {
  const std::string lineEnd = place.first.exists() ? lineEndOf(text, place.first) : "\n";
  std::string result(text);
  if (place.last.exists() && place.last.end == place.last.contentsEnd) result += lineEnd;
  if (place.last.exists() && place.last.kind != LineKind::Empty) result += lineEnd;
  return result + "[" + std::string(section) + "]" + lineEnd + entry + lineEnd;
}

std::string insertAfter(std::string_view text, const Line& line, const std::string& entry) {
  const std::string lineEnd = lineEndOf(text, line);
  return std::string(text.substr(0, line.contentsEnd)) + lineEnd + entry + std::string(text.substr(line.contentsEnd));
}

// Copies the parts of a text that stay, in their order; the mark at the beginning does.
class Remainder {
 public:
  explicit Remainder(std::string_view text) : text_(text), kept_(text.substr(0, markLength(text))) {}

  void keep(std::size_t begin, std::size_t end) { kept_ += text_.substr(begin, end - begin); }
  std::string&& take() { return std::move(kept_); }

 private:
  std::string_view text_;
  std::string kept_;
};

class FaultFinder {
 public:
  explicit FaultFinder(const std::function<void(const std::string&)>& tell) : tell_(tell) {}

  void find(std::string_view text) {
    std::size_t number = 0;
    forEachLine(text, [&](const Line& line) { examine(line, ++number); });
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

  void report(std::size_t number, const std::string& text) { tell_("line " + std::to_string(number) + ": " + text); }

  const std::function<void(const std::string&)>& tell_;
  std::map<std::string_view, std::size_t> sections_;
  std::map<std::string_view, std::size_t> keys_;
};

}  // namespace

std::string setINIEntry(std::string_view text, std::string_view section, std::string_view key, std::string_view value) {
  const std::string entry = entryText(key, value);
  Place place;
  forEachLine(text, [&](const Line& line) { place.pass(line, section, key); });
  if (!place.before.exists()) return appendSection(text, place, section, entry);
  if (!place.present.exists()) return insertAfter(text, place.before, entry);
  return std::string(text.substr(0, place.present.begin)) + entry + std::string(text.substr(place.present.contentsEnd));
}

std::string removeINIEntry(std::string_view text, std::string_view section, std::string_view key) {
  Remainder rest(text);
  forEachLine(text, [&](const Line& line) {
    if (!isEntryOf(line, section, key)) rest.keep(line.begin, line.end);
  });
  return rest.take();
}

std::string removeINISection(std::string_view text, std::string_view section) {
  Remainder rest(text);
  std::size_t next = markLength(text);  // where the comments begin that stand directly above the line
  forEachLine(text, [&](const Line& line) {
    const bool isDropped = line.isInSection && line.section == section;
    if (!isDropped) rest.keep(line.kind == LineKind::Header ? next : line.begin, line.end);
    if (!isDropped || line.kind != LineKind::Comment) next = line.end;
  });
  return rest.take();
}

void findINIFaults(std::string_view text, const std::function<void(const std::string&)>& tell) {
  FaultFinder(tell).find(text);
}

}  // namespace ztplist
