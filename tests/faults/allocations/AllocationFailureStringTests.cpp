// Strings, mutable strings, formats, encodings and collation with each of their allocations failing.
#include <array>
#include <sstream>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/CharacterSet.h>
#include <ZtFoundation/platform/Collation.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Format.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/String.h>
#include <ZtFoundation/platform/StringEncoding.h>

#include <support/FailingAllocations.h>

namespace ZtFoundation::test {
namespace {

constexpr NSUInteger kLoosely = NSCaseInsensitiveSearch | NSDiacriticInsensitiveSearch | NSWidthInsensitiveSearch;

struct Texts {
  Ref<NSString> ascii = "Alpha, beta and gamma; delta/epsilon.txt";
  Ref<NSString> narrow = "Größe und Übermaß, naïve façade";
  Ref<NSString> wide = u"日本語の文字列は長い、それから短い。";
  Ref<NSString> decomposed = u"Gro\u0308ße und U\u0308berma\u00DF";
  Ref<NSString> path = "/usr/local/share/zoneinfo.tar.gz";
  Ref<NSString> beta = "beta";
  Ref<NSString> comma = ", ";
  Ref<NSString> number = "  -1234.5e3 apples";
  Ref<NSMutableString> mutableText = NSMutableString::stringWithString("a mutable string that has some text");
  Ref<NSCharacterSet> vowels = NSCharacterSet::characterSetWithCharactersInString("aeiouAZ.");
  Ref<NSData> latin = NSData::dataWithBytes("Gr\xF6\xDF\x65");
  Ref<NSData> shiftJIS = NSData::dataWithBytes("\x93\xFA\x96\x7B\x8C\xEA");
  Ref<NSData> utf16 = NSData::dataWithBytes_length("\xFE\xFF\x65\xE5\x67\x2C", 6);

  std::string describe() const { return answerText(NSArray::of(ascii, narrow, wide, decomposed, path, mutableText)); }
};

TEST(AllocationFailureString, Making) {
  const EachOf<Texts> each;
  each("NSString::string", [](Texts&) { return NSString::string(); });
  each("NSString::stringWithString", [](Texts& t) { return NSString::stringWithString(t.mutableText); });
  each("NSString::stringWithCharacters_length",
       [](Texts& t) { return NSString::stringWithCharacters_length(t.wide->units().wide().data(), 5); });
  each("NSString::stringWithUnits", [](Texts& t) { return NSString::stringWithUnits(t.wide->units()); });
  each("NSString::stringWithValidUTF8", [](Texts&) { return NSString::stringWithValidUTF8("Größe 日本語"); });
  each("NSString::stringWithASCII", [](Texts&) { return NSString::stringWithASCII("plain text"); });
  each("NSString::stringWithASCIILength",
       [](Texts&) { return NSString::stringWithASCIILength(100, [](char* at) { std::fill_n(at, 100, 'x'); }); });
  each("NSString::stringWithFileSystemRepresentation",
       [](Texts&) { return NSString::stringWithFileSystemRepresentation("/tmp/Gr\xF6\xDF\x65 日本語"); });
  each("NSString::stringWithFormat", [](Texts& t) {
    return NSString::stringWithFormat("%@ %d %5.2f %s %-8S|%c %p", t.wide, 42, 3.25, "utf8", u"utf16", 'x', nullptr);
  });
  each("formatText", [](Texts& t) {
    const std::array<FormatArgument, 3> arguments{FormatArgument(t.narrow), FormatArgument(1e100), FormatArgument(7)};
    return formatText("%2$*3$.60g %1$@ %d(missing)", arguments);
  });
  each("detail::newString", [](Texts&) { return Ref<NSString>("Größe and 日本語"); });
  each("detail::newString (units)", [](Texts&) { return Ref<NSString>(u"日本語"); });
  each("detail::newStringObject", [](Texts&) { return Ref<NSObject>("Größe"); });
  each("detail::newStringObject (units)", [](Texts&) { return Ref<NSObject>(u"日本語"); });
  each("NSString::copy", [](Texts& t) { return t.mutableText->copy(); });
  each("NSString::mutableCopy", [](Texts& t) { return t.wide->mutableCopy(); });
}

TEST(AllocationFailureString, Reading) {
  const EachOf<Texts> each;
  each("NSString::characterAtIndex", [](Texts& t) { return int{t.wide->characterAtIndex(3)}; });
  each("NSString::characterAtIndex (outside)", [](Texts& t) { return int{t.wide->characterAtIndex(99)}; },
       {.throwsAnyway = true});
  each("NSString::getCharacters_range", [](Texts& t) {
    std::array<unichar, 4> units{};
    t.narrow->getCharacters_range(units.data(), {2, 4});
    return int{units[1]};
  });
  each("NSString::utf8", [](Texts& t) { return t.wide->utf8(); });
  each("NSString::utf8 (narrow)", [](Texts& t) { return t.narrow->utf8(); });
  each("NSString::strictUTF8", [](Texts& t) { return t.wide->strictUTF8(); });
  each("NSString::utf16", [](Texts& t) { return t.narrow->utf16(); });
  each("NSString::fileSystemRepresentation", [](Texts& t) { return t.wide->fileSystemRepresentation(); });
  each("NSString::hash", [](Texts& t) { return t.wide->hash(); });
  each("NSString::isEqual", [](Texts& t) { return t.mutableText->isEqual(t.wide); });
  each("NSString::description", [](Texts& t) { return t.mutableText->description(); });
  each("NSString::compare", [](Texts& t) { return t.wide->compare(t.narrow); });
  each("NSString::compare_options", [](Texts& t) { return t.narrow->compare_options(t.decomposed, kLoosely); });
  each("NSString::compare_options (equivalence)", [](Texts& t) { return t.narrow->compare_options(t.decomposed, 0); });
  each("NSString::compare_options (numeric)",
       [](Texts& t) { return t.narrow->compare_options(t.wide, NSNumericSearch | NSCaseInsensitiveSearch); });
  each("NSString::hasPrefix", [](Texts& t) { return t.wide->hasPrefix(t.beta); });
  each("NSString::hasSuffix", [](Texts& t) { return t.wide->hasSuffix(t.beta); });
  each("equalUnits", [](Texts& t) { return equalUnits(t.wide->units(), t.narrow->units()); });
  each("NSString::rangeOfString", [](Texts& t) { return t.ascii->rangeOfString(t.beta); });
  each("NSString::rangeOfString (equivalent)", [](Texts& t) { return t.decomposed->rangeOfString(u"Größe"); });
  each("NSString::rangeOfString_options",
       [](Texts& t) { return t.decomposed->rangeOfString_options(u"UBERMASS", kLoosely | NSBackwardsSearch); });
  each("NSString::rangeOfString_options_range", [](Texts& t) {
    return t.narrow->rangeOfString_options_range(u"u\u0308BER", NSCaseInsensitiveSearch, {2, 20});
  });
  each("NSString::rangeOfCharacterFromSet", [](Texts& t) { return t.narrow->rangeOfCharacterFromSet(t.vowels); });
  each("NSString::rangeOfCharacterFromSet_options",
       [](Texts& t) { return t.narrow->rangeOfCharacterFromSet_options(t.vowels, NSBackwardsSearch); });
  each("NSString::rangeOfCharacterFromSet_options_range", [](Texts& t) {
    return t.wide->rangeOfCharacterFromSet_options_range(t.vowels, 0, {1, 5});
  });
  each("NSString::getLineStart_end_contentsEnd_forRange", [](Texts& t) {
    NSUInteger end = 0;
    t.ascii->getLineStart_end_contentsEnd_forRange(nullptr, &end, nullptr, {1, 1});
    return end;
  });
  each("NSString::intValue", [](Texts& t) { return t.number->intValue(); });
  each("NSString::longLongValue", [](Texts& t) { return t.number->longLongValue(); });
  each("NSString::doubleValue", [](Texts& t) { return t.number->doubleValue(); });
  each("NSString::doubleValue (long)", [](Texts&) { return Ref<NSString>(std::string(900, '7'))->doubleValue(); });
  each("NSString::doubleValue (wide)", [](Texts&) { return Ref<NSString>(u"12.5e2日")->doubleValue(); });
  each("NSString::boolValue", [](Texts& t) { return t.number->boolValue(); });
  each("NSString::classObject", [](Texts&) { return NSString::classObject(); });
}

TEST(AllocationFailureString, Parts) {
  const EachOf<Texts> each;
  each("NSString::substringFromIndex", [](Texts& t) { return t.wide->substringFromIndex(3); });
  each("NSString::substringToIndex", [](Texts& t) { return t.ascii->substringToIndex(20); });
  each("NSString::substringWithRange", [](Texts& t) { return t.narrow->substringWithRange({2, 9}); });
  each("NSString::stringByAppendingString", [](Texts& t) { return t.narrow->stringByAppendingString(t.wide); });
  each("NSString::componentsSeparatedByString", [](Texts& t) { return t.ascii->componentsSeparatedByString(t.comma); });
  each("NSString::componentsSeparatedByString (equivalence)",
       [](Texts& t) { return t.decomposed->componentsSeparatedByString(u"e"); });
  each("NSString::lowercaseString", [](Texts& t) { return t.decomposed->lowercaseString(); });
  each("NSString::lowercaseString (ASCII)", [](Texts& t) { return t.ascii->lowercaseString(); });
  each("NSString::uppercaseString", [](Texts& t) { return t.narrow->uppercaseString(); });
  each("NSString::stringByTrimmingCharactersInSet",
       [](Texts& t) { return t.ascii->stringByTrimmingCharactersInSet(t.vowels); });
  each("NSString::isAbsolutePath", [](Texts& t) { return t.path->isAbsolutePath(); });
  each("NSString::pathComponents", [](Texts& t) { return t.path->pathComponents(); });
  each("NSString::lastPathComponent", [](Texts& t) { return t.path->lastPathComponent(); });
  each("NSString::pathExtension", [](Texts& t) { return t.path->pathExtension(); });
  each("NSString::stringByDeletingLastPathComponent",
       [](Texts& t) { return t.path->stringByDeletingLastPathComponent(); });
  each("NSString::stringByDeletingPathExtension", [](Texts& t) { return t.path->stringByDeletingPathExtension(); });
  each("NSString::stringByAppendingPathComponent",
       [](Texts& t) { return t.path->stringByAppendingPathComponent(t.wide); });
  each("NSString::stringByAppendingPathExtension",
       [](Texts& t) { return t.path->stringByAppendingPathExtension(t.beta); });
}

TEST(AllocationFailureString, Bytes) {
  const EachOf<Texts> each;
  each("NSString::stringWithData_encoding",
       [](Texts& t) { return NSString::stringWithData_encoding(t.latin, NSISOLatin1StringEncoding); });
  each("NSString::stringWithData_encoding (UTF-16)",
       [](Texts& t) { return NSString::stringWithData_encoding(t.utf16, NSUnicodeStringEncoding); });
  each("NSString::stringWithData_encoding (module)",
       [](Texts& t) { return NSString::stringWithData_encoding(t.shiftJIS, NSJapaneseEUCStringEncoding); });
  each("NSString::stringWithBytes_length_encoding", [](Texts&) {
    return NSString::stringWithBytes_length_encoding("\x93\xFA\x96\x7B", 4, NSShiftJISStringEncoding);
  });
  each("NSString::dataUsingEncoding", [](Texts& t) { return t.wide->dataUsingEncoding(NSShiftJISStringEncoding); });
  each("NSString::dataUsingEncoding_allowLossyConversion",
       [](Texts& t) { return t.wide->dataUsingEncoding_allowLossyConversion(NSISOLatin2StringEncoding, true); });
  for (const NSStringEncoding encoding :
       {NSASCIIStringEncoding, NSUTF8StringEncoding, NSISOLatin1StringEncoding, NSUnicodeStringEncoding,
        NSUTF32StringEncoding, NSUTF16LittleEndianStringEncoding, NSMacOSRomanStringEncoding,
        NSISO2022JPStringEncoding}) {
    each("NSString::dataUsingEncoding_allowLossyConversion (" + std::to_string(encoding) + ")",
         [=](Texts& t) { return t.narrow->dataUsingEncoding_allowLossyConversion(encoding, true); });
  }
  each("CFStringConvertIANACharSetNameToEncoding",
       [](Texts&) { return CFStringConvertIANACharSetNameToEncoding("Shift_JIS"); });
  each("CFStringConvertIANACharSetNameToEncoding (unknown)",
       [](Texts&) { return CFStringConvertIANACharSetNameToEncoding("no such charset at all"); });
  each("CFStringConvertEncodingToNSStringEncoding",
       [](Texts&) { return CFStringConvertEncodingToNSStringEncoding(0x0A01); });
  each("CFStringGetSystemEncoding", [](Texts&) { return CFStringGetSystemEncoding(); });
  each("UCCompareTextDefault", [](Texts& t) {
    bool equivalent = false;
    std::int32_t order = 0;
    const OSStatus status = UCCompareTextDefault(0x3800E, t.narrow->units(), t.wide->units(), &equivalent, &order);
    return std::to_string(status).append(" ").append(std::to_string(order));
  });
  each("UCCompareTextDefault (units)", [](Texts&) {
    std::int32_t order = 0;
    const OSStatus status = UCCompareTextDefault(0x3800E, u"file9", 5, u"fïle10", 6, nullptr, &order);
    return std::to_string(status).append(" ").append(std::to_string(order));
  });
}

struct Changing {
  Ref<NSMutableString> text = NSMutableString::stringWithString("naïve façade");
  Ref<NSString> ascii = "a text that is longer than what the receiver had room for when it was made, by far";
  Ref<NSString> wide = u"日本語の文字列は長い";

  std::string describe() const { return answerText(text); }
};

TEST(AllocationFailureString, MakingMutable) {
  const EachOf<Changing> each;
  each("NSMutableString::string", [](Changing&) { return NSMutableString::string(); });
  each("NSMutableString::stringWithCapacity", [](Changing&) { return NSMutableString::stringWithCapacity(1000); });
  each("NSMutableString::stringWithString", [](Changing& c) { return NSMutableString::stringWithString(c.wide); });
  each("NSMutableString::stringWithUnits",
       [](Changing& c) { return NSMutableString::stringWithUnits(c.wide->units()); });
  each("NSMutableString::classObject", [](Changing&) { return NSMutableString::classObject(); });
}

TEST(AllocationFailureString, Changing) {
  const EachOf<Changing> each;
  each("NSMutableString::appendString", [](Changing& c) { c.text->appendString(c.ascii); });
  each("NSMutableString::appendString (wide)", [](Changing& c) { c.text->appendString(c.wide); });
  each("NSMutableString::appendString (itself)", [](Changing& c) { c.text->appendString(c.text); });
  each("NSMutableString::appendUnits", [](Changing& c) { c.text->appendUnits(c.ascii->units()); });
  each("NSMutableString::appendUnits (its own)", [](Changing& c) {
    c.text->appendUnits(c.text->units().slice({1, 9}));
  });
  each("NSMutableString::appendCharacter", [](Changing& c) { c.text->appendCharacter(0x65E5); });
  each("NSMutableString::appendUTF8",
       [](Changing& c) { c.text->appendUTF8("plain, then wide: 日本語, then bad: \xFF"); });
  each("NSMutableString::appendFormat", [](Changing& c) { c.text->appendFormat("%@ %20d", c.wide, 4); });
  each("NSMutableString::insertString_atIndex", [](Changing& c) { c.text->insertString_atIndex(c.wide, 3); });
  each("NSMutableString::deleteCharactersInRange", [](Changing& c) { c.text->deleteCharactersInRange({1, 3}); });
  each("NSMutableString::replaceCharactersInRange_withString", [](Changing& c) {
    c.text->replaceCharactersInRange_withString({1, 2}, c.ascii);
  });
  each("NSMutableString::replaceOccurrencesOfString_withString_options_range", [](Changing& c) {
    return c.text->replaceOccurrencesOfString_withString_options_range("a", c.wide, 0, {0, c.text->length()});
  });
  each("NSMutableString::replaceOccurrencesOfString_withString_options_range (loosely)", [](Changing& c) {
    return c.text->replaceOccurrencesOfString_withString_options_range("I", c.ascii, kLoosely, {0, c.text->length()});
  });
  each("NSMutableString::setString", [](Changing& c) { c.text->setString(c.wide); });
}

}  // namespace
}  // namespace ZtFoundation::test
