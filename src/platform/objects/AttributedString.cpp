#include <ZtFoundation/platform/AttributedString.h>

#include <algorithm>

#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/Runtime.h>

namespace ZtFoundation {

ZT_IMPLEMENT_CLASS(NSAttributedString);

NSAttributedString::NSAttributedString() : text_(NSString::string()) {}

NSAttributedString::NSAttributedString(const Ref<NSString>& text, const Ref<NSDictionary>& attributes)
    : NSAttributedString() {
  append({text, attributes});
}

NSAttributedString::NSAttributedString(const Ref<NSAttributedString>& other) : NSAttributedString() {
  if (!other) return;
  text_ = other->text_;
  stretches_ = other->stretches_;
}

NSAttributedString::~NSAttributedString() = default;

Ref<NSAttributedString> NSAttributedString::attributedStringWithRuns(std::initializer_list<Run> runs) {
  Ref<NSAttributedString> result = make<NSAttributedString>();
  for (const Run& run : runs) result->append(run);
  return result;
}

void NSAttributedString::append(const Run& run) {
  if (!run.text || run.text->length() == 0) return;
  text_ = text_->length() == 0 ? run.text->copy() : text_->stringByAppendingString(run.text);
  const Ref<NSDictionary> attributes = run.attributes ? run.attributes->copy() : NSDictionary::dictionary();
  if (!stretches_.empty() && ZtFoundation::isEqual(stretches_.back().attributes, attributes)) stretches_.pop_back();
  stretches_.push_back({text_->length(), attributes});
}

Ref<NSDictionary> NSAttributedString::attributesAtIndex_effectiveRange(NSUInteger index, NSRange* range) const {
  if (index >= length()) detail::raiseRange("index past the end of the attributed string");
  const auto found = std::upper_bound(stretches_.begin(), stretches_.end(), index,
                                      [](NSUInteger wanted, const Stretch& stretch) { return wanted < stretch.end; });
  const NSUInteger start = found == stretches_.begin() ? 0 : std::prev(found)->end;
  if (range != nullptr) *range = {start, found->end - start};
  return found->attributes;
}

bool NSAttributedString::isEqual(const NSObject* other) const {
  const NSAttributedString* string = as<NSAttributedString>(other);
  return string != nullptr && text_->isEqual(string->text_) &&
         std::equal(stretches_.begin(), stretches_.end(), string->stretches_.begin(), string->stretches_.end(),
                    [](const Stretch& a, const Stretch& b) {
                      return a.end == b.end && ZtFoundation::isEqual(a.attributes, b.attributes);
                    });
}

NSUInteger NSAttributedString::hash() const { return text_->hash(); }

Ref<NSString> NSAttributedString::description() const {
  Ref<NSMutableString> result = NSMutableString::string();
  NSUInteger start = 0;
  for (const Stretch& stretch : stretches_) {
    result->appendString(text_->substringWithRange({start, stretch.end - start}));
    result->appendString(stretch.attributes->description());
    start = stretch.end;
  }
  return result->copy();
}

}  // namespace ZtFoundation
