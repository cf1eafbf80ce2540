#include <ZtFoundation/platform/URL.h>

#include <charconv>
#include <optional>
#include <string>
#include <utility>

#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {

ZT_IMPLEMENT_CLASS(NSURL);

namespace {

constexpr std::string_view kSubDelimiters = "!$&'()*+,;=";

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isOneOf(std::string_view set, char c) { return set.find(c) != std::string_view::npos; }
bool isUnreserved(char c) { return isLetter(c) || isDigit(c) || isOneOf("-._~", c); }

int hexValue(char c) {
  if (isDigit(c)) return c - '0';
  const char lower = static_cast<char>(c | 0x20);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

bool isEscape(std::string_view text, std::size_t at) {
  return text.size() - at > 2 && hexValue(text[at + 1]) >= 0 && hexValue(text[at + 2]) >= 0;
}

// Unreserved characters, sub-delimiters, escapes and what `extra` adds.
bool holdsOnly(std::string_view text, std::string_view extra) {
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char c = text[at];
    if (c == '%' ? !isEscape(text, at) : !isUnreserved(c) && !isOneOf(kSubDelimiters, c) && !isOneOf(extra, c)) {
      return false;
    }
  }
  return true;
}

bool isScheme(std::string_view text) {
  if (text.empty() || !isLetter(text[0])) return false;
  for (const char c : text) {
    if (!isLetter(c) && !isDigit(c) && !isOneOf("+-.", c)) return false;
  }
  return true;
}

// What stands between the brackets of an address.
bool isAddress(std::string_view text) {
  return text.find('%') == std::string_view::npos && !text.empty() && holdsOnly(text, ":");
}

std::string unescaped(std::string_view text) {
  std::string bytes;
  bytes.reserve(text.size());
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == '%') {
      bytes += static_cast<char>(hexValue(text[at + 1]) * 16 + hexValue(text[at + 2]));
      at += 2;
    } else {
      bytes += text[at];
    }
  }
  return bytes;
}

std::string escapedPath(std::string_view bytes) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  text.reserve(bytes.size() + bytes.size() / 8);
  for (const char c : bytes) {
    // A semicolon would be allowed, but some readers take it for the start of parameters.
    if (isUnreserved(c) || (isOneOf(kSubDelimiters, c) && c != ';') || isOneOf(":@/", c)) {
      text += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      text.append({'%', kDigits[byte >> 4], kDigits[byte & 15]});
    }
  }
  return text;
}

}  // namespace

// Splits from the outside in: fragment, query, scheme, authority; what is left is the path.
class NSURL::Parser {
 public:
  explicit Parser(std::string_view text) : text_(text), end_(text.size()) {}

  std::optional<Parts> parse() {
    const bool valid = takeTail('#', parts_.fragment) && takeTail('?', parts_.query) && takeScheme() && takeAuthority();
    parts_.path = {start_, end_ - start_};
    return valid && holdsOnly(rest(), "/:@") ? std::optional(parts_) : std::nullopt;
  }

 private:
  std::string_view rest() const { return text_.substr(start_, end_ - start_); }
  std::string_view in(NSRange range) const { return text_.substr(range.location, range.length); }

  bool takeTail(char mark, NSRange& part) {
    const std::size_t found = rest().find(mark);
    if (found == std::string_view::npos) return true;
    part = {found + 1, end_ - found - 1};
    end_ = found;
    return holdsOnly(in(part), "/?:@");
  }

  // A colon in the first segment ends a scheme; a relative reference has none there.
  bool takeScheme() {
    const std::size_t colon = rest().find_first_of(":/");
    if (colon == std::string_view::npos || text_[colon] == '/') return true;
    parts_.scheme = {0, colon};
    start_ = colon + 1;
    return isScheme(in(parts_.scheme));
  }

  bool takeAuthority() {
    if (!rest().starts_with("//")) return true;
    const std::size_t first = start_ + 2;
    start_ = std::min(text_.find('/', first), end_);
    const std::string_view authority = text_.substr(first, start_ - first);
    const std::size_t at = authority.find('@');
    if (at == std::string_view::npos) return takeHost(first, authority);
    return holdsOnly(authority.substr(0, at), ":") && takeHost(first + at + 1, authority.substr(at + 1));
  }

  bool takeHost(std::size_t first, std::string_view hostAndPort) {
    if (hostAndPort.starts_with('[')) {
      const std::size_t close = hostAndPort.find(']');
      if (close == std::string_view::npos || !isAddress(hostAndPort.substr(1, close - 1))) return false;
      parts_.host = {first + 1, close - 1};
      return takePort(first + close + 1, hostAndPort.substr(close + 1));
    }
    const std::size_t colon = std::min(hostAndPort.find(':'), hostAndPort.size());
    parts_.host = {first, colon};
    return holdsOnly(in(parts_.host), "") && takePort(first + colon, hostAndPort.substr(colon));
  }

  bool takePort(std::size_t first, std::string_view colonAndDigits) {
    if (colonAndDigits.empty()) return true;
    if (colonAndDigits[0] != ':' || colonAndDigits.find_first_not_of("0123456789", 1) != std::string_view::npos) {
      return false;
    }
    parts_.port = {first + 1, colonAndDigits.size() - 1};
    return true;
  }

  std::string_view text_;
  std::size_t start_ = 0;
  std::size_t end_;
  Parts parts_;
};

NSURL::NSURL(Ref<NSString> text, const Parts& parts)
    : NSObject(ObjectKind::URL), text_(std::move(text)), parts_(parts) {}

NSURL::~NSURL() = default;

Ref<NSURL> NSURL::parsed(const Ref<NSString>& text) {
  const auto parts = Parser(text->units().narrow()).parse();
  return parts ? Ref<NSURL>::adopt(new NSURL(text, *parts)) : nullptr;
}

Ref<NSURL> NSURL::fileURLWithPath(const Ref<NSString>& path) {
  if (!path || path->length() == 0) return nullptr;
  const std::string bytes = path->fileSystemRepresentation();
  return parsed(NSString::stringWithASCII((bytes[0] == '/' ? "file://" : "file:") + escapedPath(bytes)));
}

Ref<NSURL> NSURL::URLWithString(const Ref<NSString>& text) {
  if (!text) return nullptr;
  const Ref<NSString> kept = text->copy();  // a mutable string may be stored wide and hold nothing that needs it
  return kept->units().isWide() ? nullptr : parsed(kept);
}

std::string_view NSURL::part(NSRange range) const {
  return text_->units().narrow().substr(range.location, range.length);
}

Ref<NSString> NSURL::partOrNone(NSRange range) const {
  return range.location != NSNotFound ? NSString::stringWithASCII(part(range)) : nullptr;
}

Ref<NSString> NSURL::scheme() const { return partOrNone(parts_.scheme); }
Ref<NSString> NSURL::query() const { return partOrNone(parts_.query); }
Ref<NSString> NSURL::fragment() const { return partOrNone(parts_.fragment); }

Ref<NSString> NSURL::host() const {
  if (parts_.host.location == NSNotFound) return nullptr;
  return NSString::stringWithFileSystemRepresentation(unescaped(part(parts_.host)));
}

Ref<NSNumber> NSURL::port() const {
  if (parts_.port.location == NSNotFound) return nullptr;
  const std::string_view digits = part(parts_.port);
  std::uint16_t value = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  return error == std::errc() ? NSNumber::numberWithInt(value) : nullptr;
}

Ref<NSString> NSURL::path() const {
  std::string bytes = unescaped(part(parts_.path));
  if (bytes.size() > 1 && bytes.back() == '/') bytes.pop_back();
  return NSString::stringWithFileSystemRepresentation(bytes);
}

Ref<NSString> NSURL::lastPathComponent() const { return path()->lastPathComponent(); }

bool NSURL::isFileURL() const {
  const std::string_view name = parts_.scheme.location != NSNotFound ? part(parts_.scheme) : std::string_view();
  return name.size() == 4 && (name[0] | 0x20) == 'f' && (name[1] | 0x20) == 'i' && (name[2] | 0x20) == 'l' &&
         (name[3] | 0x20) == 'e';
}

bool NSURL::isEqual(const NSObject* other) const {
  const NSURL* url = as<NSURL>(other);
  return url != nullptr && text_->isEqual(url->text_);
}

NSUInteger NSURL::hash() const { return text_->hash(); }

}  // namespace ZtFoundation
