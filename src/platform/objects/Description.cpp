// Descriptions of collections, in the text that OpenStep property lists are written in.
#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/Set.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {

namespace {

// Indentation stops growing here, so that the text of deep values stays in proportion to their size.
constexpr std::size_t kMaximumIndentation = 32;
// Beyond this much text a container that several places share is shown as three dots: few objects
// that share each other, or a cycle, could otherwise make any amount of text.
constexpr std::size_t kMaximumTextOfShared = std::size_t{16} << 20;

bool isPlainUnit(unichar unit) {
  return (unit >= 'a' && unit <= 'z') || (unit >= 'A' && unit <= 'Z') || (unit >= '0' && unit <= '9') ||
         (unit < 0x80 && std::string_view("_$./:-").find(static_cast<char>(unit)) != std::string_view::npos);
}

bool isPlain(UnitView units) {
  unichar before = 0;
  for (NSUInteger index = 0; index < units.size(); ++index) {
    const unichar unit = units[index];
    if (!isPlainUnit(unit) || (unit == '/' && before == '/')) return false;
    before = unit;
  }
  return !units.empty();
}

void appendHexUnit(std::string& text, unichar unit) {
  text += "\\U";
  for (int shift = 12; shift >= 0; shift -= 4) text += "0123456789abcdef"[(unit >> shift) & 15];
}

void appendOctal(std::string& text, unichar unit) {
  text += '\\';
  for (int shift = 6; shift >= 0; shift -= 3) text += static_cast<char>('0' + ((unit >> shift) & 7));
}

void appendEscaped(std::string& text, unichar unit) {
  constexpr std::string_view kSpecial = "\"\\\n\t\r";
  constexpr std::string_view kShown = "\"\\ntr";
  if (unit >= 0x80) return appendHexUnit(text, unit);
  const char character = static_cast<char>(unit);
  if (const auto found = kSpecial.find(character); found != std::string_view::npos) {
    text += '\\';
    text += kShown[found];
  } else if (unit < 0x20 || unit == 0x7F) {
    appendOctal(text, unit);
  } else {
    text += character;
  }
}

void appendQuoted(std::string& text, UnitView units) {
  text += '"';
  for (NSUInteger index = 0; index < units.size(); ++index) appendEscaped(text, units[index]);
  text += '"';
}

bool isContainer(const NSObject& object) {
  return object.kind() == ObjectKind::Array || object.kind() == ObjectKind::Dictionary ||
         object.kind() == ObjectKind::Set;
}

std::string_view opening(ObjectKind kind) {
  return kind == ObjectKind::Array ? "(" : kind == ObjectKind::Set ? "{(" : "{";
}

std::string_view closing(ObjectKind kind) {
  return kind == ObjectKind::Array ? ")" : kind == ObjectKind::Set ? ")}" : "}";
}

// A walk through one container.
class Walk {
 public:
  explicit Walk(const NSObject& container) : kind_(container.kind()) {
    if (const auto* array = as<NSArray>(&container)) {
      element_ = array->begin();
      lastElement_ = array->end();
    } else if (const auto* set = as<NSSet>(&container)) {
      entry_ = set->begin();
      lastEntry_ = set->end();
    } else {
      const auto& dictionary = static_cast<const NSDictionary&>(container);
      entry_ = dictionary.begin();
      lastEntry_ = dictionary.end();
    }
  }

  ObjectKind kind() const { return kind_; }
  bool atEnd() const { return kind_ == ObjectKind::Array ? element_ == lastElement_ : entry_ == lastEntry_; }
  const NSObject* key() const { return kind_ == ObjectKind::Dictionary ? entry_->key.get() : nullptr; }
  const NSObject& value() const {
    if (kind_ == ObjectKind::Array) return **element_;
    return kind_ == ObjectKind::Set ? *entry_->key : *entry_->value;
  }
  void advance() {
    started_ = true;
    kind_ == ObjectKind::Array ? static_cast<void>(++element_) : static_cast<void>(++entry_);
  }
  // What stands between the value before and what comes now.
  std::string_view separator() const {
    if (!started_) return "";
    return kind_ == ObjectKind::Dictionary ? ";\n" : atEnd() ? "\n" : ",\n";
  }

 private:
  ObjectKind kind_;
  bool started_ = false;
  const Ref<NSObject>* element_ = nullptr;
  const Ref<NSObject>* lastElement_ = nullptr;
  NSDictionary::Iterator entry_;
  NSDictionary::Iterator lastEntry_;
};

class Describer {
 public:
  std::string describe(const NSObject& root) {
    open(root);
    while (!open_.empty()) step();
    return std::move(text_);
  }

 private:
  void step() {
    Walk& walk = open_.back();
    text_ += walk.separator();
    if (walk.atEnd()) return close();
    indent(open_.size());
    if (const NSObject* key = walk.key()) {
      leaf(*key);
      text_ += " = ";
    }
    const NSObject& value = walk.value();
    walk.advance();
    isContainer(value) ? container(value) : leaf(value);
  }

  void container(const NSObject& value) {
    if (value.retainCount() > 1 && text_.size() > kMaximumTextOfShared) {
      text_.append(opening(value.kind())).append("...").append(closing(value.kind()));
    } else {
      open(value);
    }
  }

  void open(const NSObject& value) {
    text_.append(opening(value.kind())).append("\n");
    open_.emplace_back(value);
  }

  void close() {
    indent(open_.size() - 1);
    text_ += closing(open_.back().kind());
    open_.pop_back();
  }

  void leaf(const NSObject& value) {
    const Ref<NSString> description = detail::describe(&value);
    const UnitView units = description->units();
    if (value.kind() != ObjectKind::Data && !isPlain(units)) return appendQuoted(text_, units);
    for (NSUInteger index = 0; index < units.size(); ++index) text_ += static_cast<char>(units[index]);
  }

  void indent(std::size_t depth) { text_.append(4 * std::min(depth, kMaximumIndentation), ' '); }

  std::string text_;
  std::vector<Walk> open_;
};

Ref<NSString> describe(const NSObject& container) { return NSString::stringWithASCII(Describer().describe(container)); }

}  // namespace

Ref<NSString> NSArray::description() const { return describe(*this); }
Ref<NSString> NSDictionary::description() const { return describe(*this); }
Ref<NSString> NSSet::description() const { return describe(*this); }

}  // namespace ZtFoundation
