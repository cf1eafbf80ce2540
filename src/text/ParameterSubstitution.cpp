#include <string>

#include <ZtFoundation/Text.h>
#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/Runtime.h>

namespace ZtFoundation {

namespace {

// Of units, and of replacements: those of "%1" by "1%" would move each "%" past each 1 one place at a time.
constexpr std::size_t kMostGrowth = std::size_t{1} << 24;

std::u16string placeholderFor(NSUInteger number) {
  const std::string digits = std::to_string(number);
  return u'%' + std::u16string(digits.begin(), digits.end());
}

[[noreturn]] void raise(const std::string& reason) { throw NSException(NSInvalidArgumentException(), reason); }

void requireEnd(const std::u16string& parameter, const std::u16string& placeholder, NSUInteger number) {
  if (parameter.find(placeholder) != std::u16string::npos) {
    raise("parameter " + std::to_string(number) + " contains its own placeholder, so filling it in would never end");
  }
}

// A text with one place in it: what lies before holds no placeholder, what lies behind waits in reverse. Both sides of
// the place grow and shrink at no cost, so searching "again from the beginning" never walks over the same text twice.
class Template {
 public:
  explicit Template(const std::u16string& text) : behind_(text.rbegin(), text.rend()) {}

  // Fills every occurrence; false when there was none.
  bool fill(const std::u16string& placeholder, const std::u16string& parameter, NSUInteger number) {
    rewind();
    if (!advanceTo(placeholder)) return false;
    requireEnd(parameter, placeholder, number);
    const std::u16string reversed(parameter.rbegin(), parameter.rend());
    do {
      replaceWith(reversed, placeholder.size(), number);
    } while (advanceTo(placeholder));
    return true;
  }

  std::u16string text() {
    rewind();
    return {behind_.rbegin(), behind_.rend()};
  }

 private:
  void rewind() {
    behind_.append(before_.rbegin(), before_.rend());
    before_.clear();
  }

  bool advanceTo(const std::u16string& placeholder) {
    while (!behind_.empty()) {
      const char16_t unit = behind_.back();
      before_.push_back(unit);
      behind_.pop_back();
      if (unit == placeholder.back() && before_.ends_with(placeholder)) return true;
    }
    return false;
  }

  void replaceWith(const std::u16string& reversed, std::size_t replaced, NSUInteger number) {
    before_.resize(before_.size() - replaced);
    behind_.append(reversed);
    if (before_.size() + behind_.size() > limit_) {
      raise("filling in parameter " + std::to_string(number) + " makes the text too long");
    }
    if (++replacements_ > limit_) {
      raise("filling in parameter " + std::to_string(number) + " takes too many replacements");
    }
  }

  std::u16string before_;
  std::u16string behind_;
  std::size_t limit_{kMostGrowth + behind_.size()};
  std::size_t replacements_ = 0;
};

std::u16string textOf(const Ref<NSObject>& parameter) {
  if (const NSString* text = as<NSString>(parameter.get())) return text->utf16();
  return detail::describe(parameter.get())->utf16();
}

Ref<NSMutableString> mutableStringWith(const std::u16string& units) {
  return NSMutableString::stringWithUnits(UnitView(units.data(), units.size()));
}

}  // namespace

Ref<NSMutableString> JxReplacementExtensions::stringWithParameterArray(const Ref<NSString>& self,
                                                                       const Ref<NSArray>& parameters) {
  if (!self) return nullptr;
  if (!parameters) return self->mutableCopy();
  Template text(self->utf16());
  for (NSUInteger number = 1; number <= parameters->count(); ++number) {
    if (!text.fill(placeholderFor(number), textOf(parameters->objectAtIndex(number - 1)), number)) break;
  }
  return mutableStringWith(text.text());
}

}  // namespace ZtFoundation
