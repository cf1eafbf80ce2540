/// \file AttributedString.h
/// `NSAttributedString`: text of which each stretch has a dictionary of attributes. Immutable.
/// \code
///   Ref<NSAttributedString> title = NSAttributedString::attributedStringWithRuns({{"Zt", bold}, {" Foundation", nullptr}});
///   NSRange where;
///   title->attributesAtIndex_effectiveRange(1, &where);   // `bold`, and where becomes {0, 2}
/// \endcode
/// A host may derive from the class.
///
/// Threads: one object may be used by many threads at once while nobody changes its attributes.
#pragma once

#include <initializer_list>
#include <vector>

#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Object.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {

class ZT_EXPORT NSAttributedString : public NSObject {
  ZT_OBJECT(NSAttributedString, NSObject)
 public:
  /// A stretch of text; none for its attributes is the same as an empty dictionary.
  struct Run {
    Ref<NSString> text;
    Ref<NSDictionary> attributes;
  };

  /// Empty text.
  NSAttributedString();
  /// The whole text with the same attributes, which may be none.
  explicit NSAttributedString(const Ref<NSString>& text, const Ref<NSDictionary>& attributes = nullptr);
  /// The same text and attributes as `other`.
  explicit NSAttributedString(const Ref<NSAttributedString>& other);
  ~NSAttributedString() override;

  /// The stretches one after another. Empty ones are dropped, neighbours with equal attributes joined.
  static Ref<NSAttributedString> attributedStringWithRuns(std::initializer_list<Run> runs);

  /// The text without attributes.
  Ref<NSString> string() const { return text_; }
  /// How many UTF-16 units the text has.
  NSUInteger length() const noexcept { return text_->length(); }
  /// The attributes at `index`, never none. `range`, which may be null, becomes the largest range around with the same
  /// ones. Raises NSRangeException past the end.
  Ref<NSDictionary> attributesAtIndex_effectiveRange(NSUInteger index, NSRange* range) const;

  bool isEqual(const NSObject* other) const override;
  using NSObject::isEqual;
  NSUInteger hash() const override;
  /// The stretches, each with its attributes behind.
  Ref<NSString> description() const override;

 private:
  struct Stretch {
    NSUInteger end;
    Ref<NSDictionary> attributes;
  };
  void append(const Run& run);

  Ref<NSString> text_;
  std::vector<Stretch> stretches_;  // in order, without gaps
};

}  // namespace ZtFoundation
