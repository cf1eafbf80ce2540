/// \file URL.h
/// `NSURL`: a uniform resource locator in the generic syntax of RFC 3986. Immutable.
/// \code
///   Ref<NSURL> file = NSURL::fileURLWithPath("/tmp/a b.txt");
///   file->absoluteString();                          // "file:///tmp/a%20b.txt"
///   file->path();                                    // "/tmp/a b.txt"
///   Ref<NSURL> page = NSURL::URLWithString("http://example.org:8080/x/?q=1#top");
///   page->port();                                    // 8080
/// \endcode
/// A file name need not be valid UTF-8: each of its bytes that is not travels as `%XX` in the URL and as the unpaired
/// surrogate U+DC80 + (byte - 0x80) in the path, which `fileSystemRepresentation` turns back into the byte.
///
/// Threads: one object may be used by many threads at once.
#pragma once

#include <string_view>

#include <ZtFoundation/platform/Object.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {

class NSNumber;

class ZT_EXPORT NSURL : public NSObject {
  ZT_OBJECT(NSURL, NSObject)
 public:
  static constexpr ObjectKind kKind = ObjectKind::URL;

  /// The URL of a file or folder; the file system is not asked. A relative path stays relative. None for none and for
  /// an empty path.
  static Ref<NSURL> fileURLWithPath(const Ref<NSString>& path);
  /// An absolute URL or a relative reference, as it stands. None for none and for text that the generic syntax does not
  /// allow (blanks, characters beyond ASCII and incomplete percent escapes among it).
  static Ref<NSURL> URLWithString(const Ref<NSString>& text);

  /// The text of the whole URL.
  Ref<NSString> absoluteString() const { return text_; }
  /// As written; none in a relative reference.
  Ref<NSString> scheme() const;
  /// Percent escapes resolved, brackets of an address removed; none when there is no host, empty in "file:///x".
  Ref<NSString> host() const;
  /// None when there is none, or it is no number up to 65535.
  Ref<NSNumber> port() const;
  /// Percent escapes resolved, query and fragment left out, and a slash at the end dropped unless it is all there is.
  Ref<NSString> path() const;
  /// What stands between "?" and "#", with its escapes; none when there is no "?".
  Ref<NSString> query() const;
  /// What stands behind "#", with its escapes; none when there is no "#".
  Ref<NSString> fragment() const;
  /// The last component of the path; "/" for the root.
  Ref<NSString> lastPathComponent() const;
  /// True when the scheme is "file" in any case.
  bool isFileURL() const;

  /// URLs with the same text are equal.
  bool isEqual(const NSObject* other) const override;
  using NSObject::isEqual;
  NSUInteger hash() const override;
  /// The text of the URL.
  Ref<NSString> description() const override { return text_; }

 private:
  /// Where the parts lie in the text; absent ones at NSNotFound.
  struct Parts {
    NSRange scheme = kNotFoundRange;
    NSRange host = kNotFoundRange;
    NSRange port = kNotFoundRange;
    NSRange path;
    NSRange query = kNotFoundRange;
    NSRange fragment = kNotFoundRange;
  };
  class Parser;

  NSURL(Ref<NSString> text, const Parts& parts);
  ~NSURL() override;
  static Ref<NSURL> parsed(const Ref<NSString>& text);
  std::string_view part(NSRange range) const;
  Ref<NSString> partOrNone(NSRange range) const;

  Ref<NSString> text_;  // ASCII
  Parts parts_;
};

}  // namespace ZtFoundation
