// Text services and small utilities with each of their allocations failing.
#include <array>
#include <string>

#include <gtest/gtest.h>

#include <ZtFoundation/Text.h>
#include <ZtFoundation/Utilities.h>
#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/AttributedString.h>
#include <ZtFoundation/platform/CharacterSet.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/IndexSet.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/Set.h>
#include <ZtFoundation/platform/URL.h>

#include <support/FailingAllocations.h>
#include <support/ScratchFolder.h>

namespace ZtFoundation::test {
namespace {

struct Texts {
  Ref<NSString> japanese = u"日本語の文字列とASCII";
  Ref<NSString> ascii = "plain text, a little longer";
  Ref<NSString> key = "a key";
  Ref<NSString> scrambled = ZtSimpleEncriptedKey(ascii, key);
  Ref<NSArray> parameters = NSArray::of("ten", 3, u"日本");
  std::array<char, 64> buffer{};

  std::string describe() const { return answerText(NSArray::of(japanese, ascii, key)); }
};

TEST(AllocationFailureText, Encodings) {
  const EachOf<Texts> each;
  using T = Texts;
  using namespace JxOldConversionExtensions;
  each("detail::decodePascalString",
       [](T&) { return stringWithPascalString(reinterpret_cast<const unsigned char*>("\x06Gr\x9A\xA7\x65.")); });
  each("detail::decodeSJIS",
       [](T&) { return stringWithSJISDataBytes_length<NSMutableString>("\x93\xFA\x96\x7B.", 5); });
  each("JxOldConversionExtensions::sjisStringLength", [](T& t) { return sjisStringLength(t.japanese); });
  each("JxOldConversionExtensions::getSJISString_maxLength",
       [](T& t) { return getSJISString_maxLength(t.japanese, t.buffer.data(), 20); });
  each("JxOldConversionExtensions::getSJISData_maxBufferSize",
       [](T& t) { return getSJISData_maxBufferSize(t.japanese, t.buffer.data(), 20)[0] == '\x93'; });
  each("JxOldConversionExtensions::stringWithSJISSizeLimitation",
       [](T& t) { return stringWithSJISSizeLimitation(t.japanese, 8); }, {.documented = {""}});
  each("JxOSExtensions::osType", [](T& t) { return JxOSExtensions::osType(t.japanese); });
  each("JxOSExtensions::osType (ASCII)", [](T& t) { return JxOSExtensions::osType(t.ascii); });
}

TEST(AllocationFailureText, Services) {
  const EachOf<Texts> each;
  using T = Texts;
  each("JxReplacementExtensions::stringWithParameterArray",
       [](T& t) { return JxReplacementExtensions::stringWithParameterArray("%2 of %1 and %3, %3", t.parameters); });
  each("JxReplacementExtensions::stringWithParameterArray (without end)",
       [](T&) { return JxReplacementExtensions::stringWithParameterArray("%1", NSArray::of("%1 again")); },
       {.throwsAnyway = true});
  each("ZtIdentifierString", [](T&) { return ZtIdentifierString()->length(); });
  each("ZtSimpleEncriptedKey", [](T& t) { return ZtSimpleEncriptedKey(t.ascii, t.key); }, {.documented = {"(none)"}});
  each("ZtSimpleDecriptedKey", [](T& t) { return ZtSimpleDecriptedKey(t.scrambled, t.key); },
       {.documented = {"(none)"}});
  each("__EncriptedKey", [](T& t) { return __EncriptedKey(t.ascii, t.key); }, {.documented = {"(none)"}});
  each("__DecriptedKey", [](T& t) { return __DecriptedKey(t.scrambled, t.key); }, {.documented = {"(none)"}});
}

TEST(AllocationFailureText, Truncation) {
  const EachOf<Texts> each;
  using T = Texts;
  using namespace JxTruncateExtensions;
  each("JxTruncateExtensions::truncateStringWithDrawingWidth_themeFontID_truncCode",
       [](T& t) { return truncateStringWithDrawingWidth_themeFontID_truncCode(t.ascii, 80, 0, kTruncateAtEnd); });
  each("JxTruncateExtensions::truncateControlStringWithDrawingWidth_truncCode_controlSize_bold", [](T& t) {
    return truncateControlStringWithDrawingWidth_truncCode_controlSize_bold(t.japanese, 80, kTruncateInMiddle, 1, true);
  });
  each("JxTruncateExtensions::truncateControlStringWithDrawingWidth_truncCode_controlSize", [](T& t) {
    return truncateControlStringWithDrawingWidth_truncCode_controlSize(t.ascii, 80, kTruncateAtStart, 0);
  });
  each("JxTruncateExtensions::truncateControlStringWithDrawingWidth_truncCode",
       [](T& t) { return truncateControlStringWithDrawingWidth_truncCode(t.ascii, 80, kTruncateInMiddle); });
  each("JxTruncateExtensions::truncateSmallControlStringWithDrawingWidth_truncCode",
       [](T& t) { return truncateSmallControlStringWithDrawingWidth_truncCode(t.ascii, 80, kTruncateInMiddle); });
  each("JxTruncateExtensions::truncateMiniControlStringWithDrawingWidth_truncCode",
       [](T& t) { return truncateMiniControlStringWithDrawingWidth_truncCode(t.ascii, 80, kTruncateInMiddle); });
}

namespace Q = QvFoundationExtensions;

struct Strings {
  Ref<NSString> text = "file name\twith\nwhite space and vowels";
  Ref<NSString> wide = u"Grüße aus 日本 und Gru\u0308ße";
  Ref<NSString> target = "name";
  Ref<NSCharacterSet> vowels = NSCharacterSet::characterSetWithCharactersInString("aeiou");
  Ref<NSData> bytes = NSData::dataWithBytes("\x93\xFA\x96\x7B");
  Ref<NSString> composed = repeated(u"ü 日 10", u"b");
  Ref<NSString> decomposed = repeated(u"u\u0308 日 10", u"a");

  static Ref<NSString> repeated(std::u16string_view part, std::u16string_view end) {
    std::u16string text;
    for (int i = 0; i < 50; ++i) text.append(part);
    return text.append(end);
  }
  std::string describe() const { return answerText(NSArray::of(text, wide)); }
};

TEST(AllocationFailureText, Strings) {
  const EachOf<Strings> each;
  using S = Strings;
  each("QvFoundationExtensions::initWithData_charset",
       [](S& s) { return Q::initWithData_charset(s.bytes, "shift_jis"); });
  each("QvFoundationExtensions::stringWithData_charset",
       [](S& s) { return Q::stringWithData_charset(s.bytes, "EUC-KR"); });
  each("QvFoundationExtensions::stringWithData_encoding",
       [](S& s) { return Q::stringWithData_encoding(s.bytes, NSMacOSRomanStringEncoding); });
  each("QvFoundationExtensions::abbreviatedStringForByteLength",
       [](S&) { return Q::abbreviatedStringForByteLength(123456789); });
  each("QvFoundationExtensions::naturalCompare", [](S& s) { return Q::naturalCompare(s.wide, u"Grüße 10"); });
  each("QvFoundationExtensions::naturalCompare (long)",
       [](S& s) { return Q::naturalCompare(s.composed, s.decomposed); });
  each("QvFoundationExtensions::naturalCompare (ASCII)", [](S&) { return Q::naturalCompare("file9", "file10"); });
  each("QvFoundationExtensions::containsString", [](S& s) { return Q::containsString(s.wide, u"Grüße"); });
  each("QvFoundationExtensions::containsString_options",
       [](S& s) { return Q::containsString_options(s.wide, u"GRÜSSE", NSCaseInsensitiveSearch | NSBackwardsSearch); });
  each("QvFoundationExtensions::containsString_options_range", [](S& s) {
    return Q::containsString_options_range(s.wide, u"UND", NSCaseInsensitiveSearch, {2, 15});
  });
  each("QvFoundationExtensions::containsCharacterInSet",
       [](S& s) { return Q::containsCharacterInSet(s.wide, s.vowels); });
  each("QvFoundationExtensions::containsCharacterInSet_options",
       [](S& s) { return Q::containsCharacterInSet_options(s.wide, s.vowels, NSBackwardsSearch); });
  each("QvFoundationExtensions::containsCharacterInSet_options_range", [](S& s) {
    return Q::containsCharacterInSet_options_range(s.wide, s.vowels, 0, {2, 5});
  });
  each("QvFoundationExtensions::stringByReplacingAllOccurrencesOfString_withString",
       [](S& s) { return Q::stringByReplacingAllOccurrencesOfString_withString(s.text, s.target, s.wide); });
  each("QvFoundationExtensions::stringByReplacingAllOccurrencesOfString_withString (equivalent)",
       [](S& s) { return Q::stringByReplacingAllOccurrencesOfString_withString(s.wide, u"ü", "ue"); });
  each("QvFoundationExtensions::stringByReplacingAllOccurrencesOfCharactersInSet_withString",
       [](S& s) { return Q::stringByReplacingAllOccurrencesOfCharactersInSet_withString(s.wide, s.vowels, "--"); });
  each("QvFoundationExtensions::stringByReplacingAllOccurrencesOfWhiteSpaces",
       [](S& s) { return Q::stringByReplacingAllOccurrencesOfWhiteSpaces(s.text); });
  each("QvFoundationExtensions::stringByDeletingAllOccurrencesOfString",
       [](S& s) { return Q::stringByDeletingAllOccurrencesOfString(s.text, s.target); });
  each("QvFoundationExtensions::stringByDeletingAllOccurrencesOfCharactersInSet",
       [](S& s) { return Q::stringByDeletingAllOccurrencesOfCharactersInSet(s.wide, s.vowels); });
  each("QvFoundationExtensions::hexRepresentation", [](S& s) { return Q::hexRepresentation(s.bytes); });
  each("QvFoundationExtensions::initWithHexRepresentation",
       [](S&) { return Q::initWithHexRepresentation("0xC0FFEE 01"); });
  each("QvFoundationExtensions::dataWithHexRepresentation",
       [](S&) { return Q::dataWithHexRepresentation("C0FF\nEE"); });
  each("QvFoundationExtensions::dataWithHexRepresentation (refused)",
       [](S&) { return Q::dataWithHexRepresentation("C0FX"); }, {.throwsAnyway = true});
}

struct Collections {
  Ref<NSArray> array = NSArray::of("a", 2, "b", "a", NSArray::of("a"));
  Ref<NSObject> object = "a";
  Ref<NSIndexSet> set = NSIndexSet::indexSetWithIndexesInRange({10, 20});
  Ref<NSIndexSet> other = NSIndexSet::indexSetWithIndexesInRange({25, 20});
  Ref<NSDictionary> bold = NSDictionary::of({{"Font", "bold"}});
  Ref<NSAttributedString> attributed = make<NSAttributedString>("text", bold);
  Ref<NSNumber> a = NSNumber::numberWithInt(50000);
  Ref<NSNumber> b = NSNumber::numberWithInt(7);

  std::string describe() const { return answerText(array).append(answerText(set)).append(answerText(other)); }
};

TEST(AllocationFailureText, Collections) {
  const EachOf<Collections> each;
  using C = Collections;
  each("QvFoundationExtensions::arrayByRemovingObject",
       [](C& c) { return Q::arrayByRemovingObject(c.array, c.object); });
  each("QvFoundationExtensions::arrayByRemovingObjects",
       [](C& c) { return Q::arrayByRemovingObjects(c.array, NSArray::of(2, "b")); });
  each("QvFoundationExtensions::objectsKindOfClass",
       [](C& c) { return Q::objectsKindOfClass(c.array, NSString::classObject()); });
  each("QvFoundationExtensions::numberOfObjectsEqualTo",
       [](C& c) { return Q::numberOfObjectsEqualTo(c.array, c.object); });
  each("QvFoundationExtensions::indexSetWithIndexSet", [](C& c) { return Q::indexSetWithIndexSet(c.set); });
  each("QvFoundationExtensions::indexSetByAddingIndex", [](C& c) { return Q::indexSetByAddingIndex(c.set, 99); });
  each("QvFoundationExtensions::indexSetByAddingIndexes",
       [](C& c) { return Q::indexSetByAddingIndexes(c.set, c.other); });
  each("QvFoundationExtensions::indexSetByAddingIndexesInRange", [](C& c) {
    return Q::indexSetByAddingIndexesInRange(c.set, {5, 10});
  });
  each("QvFoundationExtensions::indexSetByRemovingIndex", [](C& c) { return Q::indexSetByRemovingIndex(c.set, 15); });
  each("QvFoundationExtensions::indexSetByRemovingIndexes",
       [](C& c) { return Q::indexSetByRemovingIndexes(c.set, c.other); });
  each("QvFoundationExtensions::indexSetByRemovingIndexesInRange", [](C& c) {
    return Q::indexSetByRemovingIndexesInRange(c.set, {12, 3});
  });
  each("QvFoundationExtensions::attributedStringWithString",
       [](C&) { return Q::attributedStringWithString<>("text"); });
  each("QvFoundationExtensions::attributedStringWithString_attributes",
       [](C& c) { return Q::attributedStringWithString_attributes<>("text", c.bold); });
  each("QvFoundationExtensions::attributedStringWithAttributedString",
       [](C& c) { return Q::attributedStringWithAttributedString<>(c.attributed); });
}

TEST(AllocationFailureText, Numbers) {
  const EachOf<Collections> each;
  using C = Collections;
  each("JxArithmeticExtensions::plus", [](C& c) { return JxArithmeticExtensions::plus(c.a, c.b); });
  each("JxArithmeticExtensions::minus", [](C& c) { return JxArithmeticExtensions::minus(c.a, c.b); });
  each("JxArithmeticExtensions::times", [](C& c) { return JxArithmeticExtensions::times(c.a, c.b); });
  each("JxArithmeticExtensions::dividedBy", [](C& c) { return JxArithmeticExtensions::dividedBy(c.a, c.b); });
  each("QvFoundationExtensions::numberWithInteger", [](C&) { return Q::numberWithInteger(-77777); });
  each("QvFoundationExtensions::numberWithUnsignedInteger", [](C&) { return Q::numberWithUnsignedInteger(77777); });
  each("QvFoundationExtensions::initWithInteger", [](C&) { return Q::initWithInteger(-77777); });
  each("QvFoundationExtensions::initWithUnsignedInteger", [](C&) { return Q::initWithUnsignedInteger(77777); });
  each("QvFoundationExtensions::integerValue", [](C& c) { return Q::integerValue(c.a); });
  each("QvFoundationExtensions::unsignedIntegerValue", [](C& c) { return Q::unsignedIntegerValue(c.a); });
}

struct Watch {
  Ref<QvElapsedTime> watch = QvElapsedTime::elapsedTime();
};

TEST(AllocationFailureText, ElapsedTime) {
  const EachOf<Watch> each;
  using W = Watch;
  each("QvElapsedTime::QvElapsedTime", [](W&) { return make<QvElapsedTime>() != nullptr; });
  each("QvElapsedTime::elapsedTime", [](W&) { return QvElapsedTime::elapsedTime() != nullptr; });
  each("QvElapsedTime::init", [](W& w) { return w.watch->init() == w.watch; });
  each("QvElapsedTime::resetEpochTime", [](W& w) { w.watch->resetEpochTime(); });
  each("QvElapsedTime::elapsedMillisecondsAsUInt32",
       [](W& w) { return w.watch->elapsedMillisecondsAsUInt32() < 60000; });
  each("QvElapsedTime::elapsedMillisecondsAsFloat64",
       [](W& w) { return w.watch->elapsedMillisecondsAsFloat64() < 60000; });
  each("QvElapsedTime::classObject", [](W&) { return QvElapsedTime::classObject(); });
}

struct Names {
  ScratchFolder folder;
  Ref<NSString> path = madeFile();
  Ref<NSURL> url = NSURL::fileURLWithPath(path);
  Ref<QvDisplayNameTransformer> transformer = make<QvDisplayNameTransformer>();

  Ref<NSString> madeFile() const {
    writeFile(folder / "A name.txt", "text");
    return folder.string("A name.txt");
  }
};

TEST(AllocationFailureText, DisplayNames) {
  const EachOf<Names> each;
  using N = Names;
  each("QvDisplayNameTransformer::transformedValueClass",
       [](N&) { return QvDisplayNameTransformer::transformedValueClass(); });
  each("QvDisplayNameTransformer::allowsReverseTransformation",
       [](N&) { return QvDisplayNameTransformer::allowsReverseTransformation(); });
  each("QvDisplayNameTransformer::transformedValue", [](N& n) { return n.transformer->transformedValue(n.path); });
  each("QvDisplayNameTransformer::transformedValue (URL)", [](N& n) { return n.transformer->transformedValue(n.url); });
  each("QvDisplayNameTransformer::classObject", [](N&) { return QvDisplayNameTransformer::classObject(); });
}

}  // namespace
}  // namespace ZtFoundation::test
