// Numbers, dates, data, URLs, attributed strings, notifications, transformers and exceptions with each of their
// allocations failing.
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/AttributedString.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/Notification.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/String.h>
#include <ZtFoundation/platform/URL.h>
#include <ZtFoundation/platform/ValueTransformer.h>
#include <ZtFoundation/platform/Values.h>

#include <support/FailingAllocations.h>

namespace ZtFoundation::test {
namespace {

struct Numbers {
  Ref<NSNumber> whole = NSNumber::numberWithLongLong(-1234567890123);
  Ref<NSNumber> large = NSNumber::numberWithUnsignedLongLong(~0ULL);
  Ref<NSNumber> real = NSNumber::numberWithDouble(0.1);
};

TEST(AllocationFailureValue, Numbers) {
  const EachOf<Numbers> each;
  using N = Numbers;
  each("NSNumber::numberWithBool", [](N&) { return NSNumber::numberWithBool(true); });
  each("NSNumber::numberWithInt", [](N&) { return NSNumber::numberWithInt(-100000); });
  each("NSNumber::numberWithUnsignedInt", [](N&) { return NSNumber::numberWithUnsignedInt(100000); });
  each("NSNumber::numberWithLong", [](N&) { return NSNumber::numberWithLong(-100000); });
  each("NSNumber::numberWithUnsignedLong", [](N&) { return NSNumber::numberWithUnsignedLong(100000); });
  each("NSNumber::numberWithLongLong", [](N&) { return NSNumber::numberWithLongLong(-100000); });
  each("NSNumber::numberWithUnsignedLongLong", [](N&) { return NSNumber::numberWithUnsignedLongLong(100000); });
  each("NSNumber::numberWithDouble", [](N&) { return NSNumber::numberWithDouble(2.5); });
  each("NSNumber::numberWithFloat", [](N&) { return NSNumber::numberWithFloat(2.5F); });
  each("detail::newNumber", [](N&) { return Ref<NSObject>(77777); });
  each("detail::newNumber (unsigned)", [](N&) { return Ref<NSObject>(77777U); });
  each("detail::newNumber (real)", [](N&) { return Ref<NSObject>(7.5); });
  each("detail::newNumber (boolean)", [](N&) { return Ref<NSObject>(false); });
  each("NSNumber::boolValue", [](N& n) { return n.real->boolValue(); });
  each("NSNumber::intValue", [](N& n) { return n.whole->intValue(); });
  each("NSNumber::unsignedIntValue", [](N& n) { return n.whole->unsignedIntValue(); });
  each("NSNumber::longValue", [](N& n) { return n.whole->longValue(); });
  each("NSNumber::unsignedLongValue", [](N& n) { return n.large->unsignedLongValue(); });
  each("NSNumber::longLongValue", [](N& n) { return n.whole->longLongValue(); });
  each("NSNumber::unsignedLongLongValue", [](N& n) { return n.large->unsignedLongLongValue(); });
  each("NSNumber::doubleValue", [](N& n) { return n.large->doubleValue(); });
  each("NSNumber::floatValue", [](N& n) { return n.real->floatValue(); });
  each("NSNumber::isEqual", [](N& n) { return n.large->isEqual(n.real); });
  each("NSNumber::hash", [](N& n) { return n.real->hash(); });
  each("NSNumber::description", [](N& n) { return n.large->description(); });
  each("NSNumber::description (real)", [](N& n) { return n.real->description(); });
  each("NSNumber::compare", [](N& n) { return n.large->compare(n.real); });
  each("NSNumber::classObject", [](N&) { return NSNumber::classObject(); });
  each("valueAs", [](N& n) { return valueAs<int>(n.large); });
}

struct Dates {
  Ref<NSDate> date = NSDate::dateWithTimeIntervalSince1970(1e9);
  Ref<NSDate> other = NSDate::dateWithTimeIntervalSince1970(1e10);
};

TEST(AllocationFailureValue, Dates) {
  const EachOf<Dates> each;
  using D = Dates;
  each("NSDate::date", [](D&) { return NSDate::date() != nullptr; });
  each("NSDate::dateWithTimeIntervalSinceReferenceDate",
       [](D&) { return NSDate::dateWithTimeIntervalSinceReferenceDate(1e8); });
  each("NSDate::dateWithTimeIntervalSince1970", [](D&) { return NSDate::dateWithTimeIntervalSince1970(1e8); });
  each("NSDate::isEqual", [](D& d) { return d.date->isEqual(d.other); });
  each("NSDate::hash", [](D& d) { return d.date->hash(); });
  each("NSDate::description", [](D& d) { return d.date->description(); });
  each("NSDate::compare", [](D& d) { return d.date->compare(d.other); });
  each("NSDate::classObject", [](D&) { return NSDate::classObject(); });
  each("secondsFromCalendar", [](D&) { return secondsFromCalendar({2024, 2, 29, 12, 30, 1}); });
  each("calendarFromSeconds", [](D&) { return calendarFromSeconds(1'000'000'000).day; });
  each("daysInMonth", [](D&) { return daysInMonth(2024, 2); });
}

struct Bytes {
  Ref<NSData> data = NSData::dataWithBytes("some bytes that are more than a few");
  Ref<NSMutableData> changing = NSMutableData::dataWithData(data);
  std::string text = "a text that is too long to be kept inside";

  std::string describe() const { return answerText(data).append(answerText(changing)).append(text); }
};

TEST(AllocationFailureValue, Data) {
  const EachOf<Bytes> each;
  using B = Bytes;
  each("NSData::data", [](B&) { return NSData::data(); });
  each("NSData::dataWithBytes_length", [](B& b) { return NSData::dataWithBytes_length(b.text.data(), 20); });
  each("NSData::dataWithString", [](B& b) { return NSData::dataWithString(std::move(b.text)); });
  each("NSData::dataWithLength",
       [](B&) { return NSData::dataWithLength(20, [](unsigned char* at) { std::fill_n(at, 20, 'x'); }); });
  each("NSData::dataWithData", [](B& b) { return NSData::dataWithData(b.changing); });
  each("NSData::subdataWithRange", [](B& b) { return b.data->subdataWithRange({2, 20}); });
  each("NSData::subdataWithRange (outside)",
       [](B& b) {
         return b.data->subdataWithRange({2, 200});
       },
       {.throwsAnyway = true});
  each("NSData::isEqual", [](B& b) { return b.data->isEqual(b.changing); });
  each("NSData::hash", [](B& b) { return b.data->hash(); });
  each("NSData::description", [](B& b) { return b.data->description(); });
  each("NSData::mutableCopy", [](B& b) { return b.data->mutableCopy(); });
  each("NSData::copy", [](B& b) { return b.changing->copy(); });
  each("NSData::classObject", [](B&) { return NSData::classObject(); });
  each("NSMutableData::data", [](B&) { return NSMutableData::data(); });
  each("NSMutableData::dataWithLength", [](B&) { return NSMutableData::dataWithLength(50); });
  each("NSMutableData::dataWithData", [](B& b) { return NSMutableData::dataWithData(b.data); });
  each("NSMutableData::appendBytes_length", [](B& b) { b.changing->appendBytes_length(b.text.data(), b.text.size()); });
  each("NSMutableData::appendBytes_length (its own)",
       [](B& b) { b.changing->appendBytes_length(b.changing->bytes(), 30); });
  each("NSMutableData::appendData", [](B& b) { b.changing->appendData(b.data); });
  each("NSMutableData::appendData (itself)", [](B& b) { b.changing->appendData(b.changing); });
  each("NSMutableData::setLength", [](B& b) { b.changing->setLength(500); });
  each("NSMutableData::setLength (less)", [](B& b) { b.changing->setLength(5); });
  each("NSMutableData::replaceBytesInRange_withBytes_length", [](B& b) {
    b.changing->replaceBytesInRange_withBytes_length({1, 2}, b.text.data(), b.text.size());
  });
  each("NSMutableData::replaceBytesInRange_withBytes_length (its own)", [](B& b) {
    b.changing->replaceBytesInRange_withBytes_length({1, 2}, b.changing->bytes(), 20);
  });
  each("NSMutableData::classObject", [](B&) { return NSMutableData::classObject(); });
}

struct URLs {
  Ref<NSString> text = "http://user@example.org:8080/a%20folder/a%C3%A4?query=1#fragment";
  Ref<NSURL> url = NSURL::URLWithString(text);
  Ref<NSURL> file = NSURL::fileURLWithPath("/tmp/a folder/Größe.txt");
};

TEST(AllocationFailureValue, URLs) {
  const EachOf<URLs> each;
  using U = URLs;
  each("NSURL::fileURLWithPath", [](U&) { return NSURL::fileURLWithPath("/tmp/Größe and 日本語"); });
  each("NSURL::URLWithString", [](U& u) { return NSURL::URLWithString(u.text); });
  each("NSURL::URLWithString (wrong)", [](U&) { return NSURL::URLWithString("not a URL at all"); });
  each("NSURL::scheme", [](U& u) { return u.url->scheme(); });
  each("NSURL::host", [](U& u) { return u.url->host(); });
  each("NSURL::port", [](U& u) { return u.url->port(); });
  each("NSURL::path", [](U& u) { return u.file->path(); });
  each("NSURL::query", [](U& u) { return u.url->query(); });
  each("NSURL::fragment", [](U& u) { return u.url->fragment(); });
  each("NSURL::lastPathComponent", [](U& u) { return u.file->lastPathComponent(); });
  each("NSURL::isFileURL", [](U& u) { return u.file->isFileURL(); });
  each("NSURL::isEqual", [](U& u) { return u.file->isEqual(u.url); });
  each("NSURL::hash", [](U& u) { return u.file->hash(); });
  each("NSURL::classObject", [](U&) { return NSURL::classObject(); });
}

struct Attributed {
  Ref<NSDictionary> bold = NSDictionary::of({{"Font", "bold"}});
  Ref<NSAttributedString> text =
      NSAttributedString::attributedStringWithRuns({{"Zt", bold}, {" Foundation", nullptr}, {"!", bold}});
  Ref<NSAttributedString> same = make<NSAttributedString>(text);
};

TEST(AllocationFailureValue, AttributedStrings) {
  const EachOf<Attributed> each;
  using A = Attributed;
  each("NSAttributedString::NSAttributedString", [](A&) { return make<NSAttributedString>(); });
  each("NSAttributedString::NSAttributedString (text)", [](A& a) { return make<NSAttributedString>("text", a.bold); });
  each("NSAttributedString::NSAttributedString (other)", [](A& a) { return make<NSAttributedString>(a.text); });
  each("NSAttributedString::attributedStringWithRuns", [](A& a) {
    return NSAttributedString::attributedStringWithRuns({{"a", a.bold}, {"b", nullptr}, {"", a.bold}, {"c", nullptr}});
  });
  each("NSAttributedString::attributesAtIndex_effectiveRange",
       [](A& a) { return a.text->attributesAtIndex_effectiveRange(4, nullptr); });
  each("NSAttributedString::isEqual", [](A& a) { return a.text->isEqual(a.same); });
  each("NSAttributedString::hash", [](A& a) { return a.text->hash(); });
  each("NSAttributedString::description", [](A& a) { return a.text->description(); });
  each("NSAttributedString::classObject", [](A&) { return NSAttributedString::classObject(); });
}

struct Center {
  Ref<NSNotificationCenter> center = make<NSNotificationCenter>();
  int calls = 0;
  Ref<NSObject> first = center->addObserverForName_object_usingBlock("Said", nullptr, [this](const auto&) { ++calls; });
  Ref<NSObject> second =
      center->addObserverForName_object_usingBlock(nullptr, nullptr, [this](const auto&) { ++calls; });
  Ref<NSNotification> notification = NSNotification::notificationWithName_object_userInfo("Said", nullptr, nullptr);

  std::string describe() const { return std::to_string(calls); }
};

TEST(AllocationFailureValue, Notifications) {
  const EachOf<Center> each;
  using C = Center;
  each("NSNotification::notificationWithName_object_userInfo", [](C& c) {
    return NSNotification::notificationWithName_object_userInfo("Said", c.center, NSDictionary::of({{"a", 1}}))->name();
  });
  each("NSNotification::classObject", [](C&) { return NSNotification::classObject(); });
  each("NSNotificationCenter::NSNotificationCenter", [](C&) { return make<NSNotificationCenter>()->isMutable(); });
  each("NSNotificationCenter::defaultCenter", [](C&) { return NSNotificationCenter::defaultCenter() != nullptr; });
  each("NSNotificationCenter::addObserverForName_object_usingBlock", [](C& c) {
    const std::array<int, 20> large{};
    const auto token = c.center->addObserverForName_object_usingBlock(
        "Said", nullptr, [large](const auto&) { static_cast<void>(large); });
    return token != nullptr;
  });
  each("NSNotificationCenter::removeObserver", [](C& c) { c.center->removeObserver(c.first); });
  each("NSNotificationCenter::postNotification", [](C& c) { c.center->postNotification(c.notification); });
  each("NSNotificationCenter::postNotificationName_object",
       [](C& c) { c.center->postNotificationName_object("Said", c.center); });
  each("NSNotificationCenter::postNotificationName_object_userInfo",
       [](C& c) { c.center->postNotificationName_object_userInfo("Said", c.center, nullptr); });
  each("NSNotificationCenter::classObject", [](C&) { return NSNotificationCenter::classObject(); });
}

struct Transformers {
  Ref<NSValueTransformer> transformer = make<NSValueTransformer>();
  Ref<NSString> name = "a name for a transformer";

  ~Transformers() { NSValueTransformer::setValueTransformer_forName(nullptr, name); }
  std::string describe() const {
    return std::to_string(NSValueTransformer::valueTransformerForName(name) == transformer);
  }
};

TEST(AllocationFailureValue, Transformers) {
  const EachOf<Transformers> each;
  using T = Transformers;
  each("NSValueTransformer::transformedValueClass", [](T&) { return NSValueTransformer::transformedValueClass(); });
  each("NSValueTransformer::allowsReverseTransformation",
       [](T&) { return NSValueTransformer::allowsReverseTransformation(); });
  each("NSValueTransformer::transformedValue", [](T& t) { return t.transformer->transformedValue("a"); });
  each("NSValueTransformer::setValueTransformer_forName",
       [](T& t) { NSValueTransformer::setValueTransformer_forName(t.transformer, t.name); });
  each("NSValueTransformer::valueTransformerForName",
       [](T& t) { return NSValueTransformer::valueTransformerForName(t.name) != nullptr; });
  each("NSValueTransformer::classObject", [](T&) { return NSValueTransformer::classObject(); });
}

struct Plain {
  Ref<NSObject> object = make<NSObject>();
  Ref<NSArray> array = NSArray::of(1, "zwei", u"日本語");
  NSException exception{"Name", "a reason that is long enough to need memory"};
};

TEST(AllocationFailureValue, Objects) {
  const EachOf<Plain> each;
  using P = Plain;
  each("NSObject::classObject", [](P&) { return NSObject::classObject(); });
  each("NSObject::isKindOfClass", [](P& p) { return p.array->isKindOfClass(NSString::classObject()); });
  each("NSObject::isEqualTo", [](P& p) { return p.array->isEqualTo(p.object.get()); });
  each("NSObject::hash", [](P& p) { return p.object->hash() != 0; });
  each("NSObject::description", [](P& p) { return p.object->description()->hasPrefix("<NSObject"); });
  each("operator<<", [](P& p) {
    std::ostringstream stream;
    stream.exceptions(std::ios::badbit | std::ios::failbit);
    stream << p.array;
    return stream.str();
  });
  each("NSException::NSException", [](P&) { return std::string(NSException("Name", "a reason long enough").what()); });
  each("NSException::NSException (copy)", [](P& p) { return std::string(NSException(p.exception).what()); });
  each("NSInvalidArgumentException", [](P&) { return NSInvalidArgumentException(); });
  each("NSRangeException", [](P&) { return NSRangeException(); });
  each("detail::raiseRange", [](P&) { detail::raiseRange("a reason"); }, {.throwsAnyway = true});
  each("detail::raiseInvalidArgument", [](P&) { detail::raiseInvalidArgument("a reason"); }, {.throwsAnyway = true});
  each("detail::throwMessageToNone", [](P&) { return Ref<NSString>()->length(); }, {.throwsAnyway = true});
}

// Copies of what is thrown are made where nothing can be thrown any more.
static_assert(std::is_nothrow_copy_constructible_v<NSException>);

}  // namespace
}  // namespace ZtFoundation::test
