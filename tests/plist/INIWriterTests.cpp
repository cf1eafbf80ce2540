#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/Runtime.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <utility>

#include "support/Interchange.h"

namespace ZtFoundation::test {

/// Accepts whatever it is given.
class AcceptsAnything : public QvPropertyListSerialization {
  ZT_OBJECT(AcceptsAnything, QvPropertyListSerialization)
 public:
  static bool propertyList_isValidForFormat(const Ref<NSObject>&, QvPropertyListFormat) { return true; }
};

/// Notes what it is asked about.
class AsksBack : public QvPropertyListSerialization {
  ZT_OBJECT(AsksBack, QvPropertyListSerialization)
 public:
  static bool propertyList_isValidForFormat(const Ref<NSObject>& value, QvPropertyListFormat format) {
    askedAbout = value;
    askedFor = format;
    return true;
  }

  static inline Ref<NSObject> askedAbout;
  static inline QvPropertyListFormat askedFor = 0;
};

/// Refuses whatever it is given.
class RefusesAnything : public QvPropertyListSerialization {
  ZT_OBJECT(RefusesAnything, QvPropertyListSerialization)
 public:
  static bool propertyList_isValidForFormat(const Ref<NSObject>&, QvPropertyListFormat) { return false; }
};

/// Accepts whatever it is given, for messages.
class AnswersMessages : public QvPropertyListSerialization {
  ZT_OBJECT(AnswersMessages, QvPropertyListSerialization)
 public:
  static bool anything(const Ref<NSObject>&, QvPropertyListFormat) { return true; }
};

/// Derives and changes nothing.
class Unchanged : public QvPropertyListSerialization {
  ZT_OBJECT(Unchanged, QvPropertyListSerialization)
};

/// A key that is no string.
class Label : public NSObject {
  ZT_OBJECT(Label, NSObject)
 public:
  Ref<NSString> description() const override { return "a label"; }
};

/// Answers messages otherwise than C++ callers.
class Relabelled : public Label {
  ZT_OBJECT(Relabelled, Label)
 public:
  Ref<NSString> otherText() const { return "another label"; }
};

/// A key without a text.
class Nameless : public NSObject {
  ZT_OBJECT(Nameless, NSObject)
 public:
  Ref<NSString> description() const override { return nullptr; }
};

struct Owner {
  Ref<NSObject> file;
};

/// A key whose owner lets go of the file when it is asked for its text.
class Leaver : public Label {
  ZT_OBJECT(Leaver, Label)
 public:
  explicit Leaver(Owner& owner) : owner_(owner) {}
  Ref<NSString> description() const override {
    owner_.file = nullptr;
    return "left";
  }

 private:
  Owner& owner_;
};

ZT_IMPLEMENT_CLASS(AcceptsAnything);
ZT_IMPLEMENT_CLASS(AsksBack);
ZT_IMPLEMENT_CLASS(RefusesAnything);
ZT_IMPLEMENT_CLASS(AnswersMessages, ZT_CLASS_METHOD("propertyList:isValidForFormat:", &AnswersMessages::anything));
ZT_IMPLEMENT_CLASS(Unchanged);
ZT_IMPLEMENT_CLASS(Label);
ZT_IMPLEMENT_CLASS(Relabelled, ZT_METHOD("description", &Relabelled::otherText));
ZT_IMPLEMENT_CLASS(Nameless);
ZT_IMPLEMENT_CLASS(Leaver);

namespace {

std::optional<std::string> textOf(const Ref<NSData>& data) {
  return data ? std::optional<std::string>(data->view()) : std::nullopt;
}

std::optional<std::string> writeINI(const Ref<NSObject>& value) {
  Ref<NSString> error = "untouched";
  const Ref<NSString> before = error;
  const Ref<NSData> data =
      QvPropertyListSerialization::dataFromPropertyList_format_errorDescription(value, QvPropertyListINIFormat, &error);
  EXPECT_EQ(error, before) << "the error slot is never written";
  return textOf(data);
}

Ref<NSDictionary> fileWith(const Ref<NSObject>& value, const Ref<NSObject>& key = "k") {
  return NSDictionary::dictionaryWithObject_forKey(NSDictionary::dictionaryWithObject_forKey(value, key), "S");
}

TEST(INIWriterTests, SectionsAreWrittenInTheOrderOfTheirKeys) {
  const Ref<NSDictionary> main = NSDictionary::dictionaryWithObject_forKey("Alice", "Name");
  EXPECT_EQ(writeINI(NSDictionary::dictionary()), "");
  EXPECT_EQ(writeINI(NSDictionary::dictionaryWithObject_forKey(main, "Main")), "[Main]\nName=Alice\n\n");
  const Ref<NSDictionary> two = NSDictionary::dictionaryWithEntries(
      {{"Z", NSDictionary::dictionaryWithEntries({{"b", "1"}, {"a", "2"}})}, {"A", NSMutableDictionary::dictionary()}});
  EXPECT_EQ(writeINI(two), "[Z]\nb=1\na=2\n\n[A]\n\n");
}

TEST(INIWriterTests, ValuesAreQuotedByOneRule) {
  struct Case {
    Ref<NSObject> value;
    std::string text;
  };
  const Case cases[] = {
      {"Alice", "Alice"},
      {"Alice Smith", "\"Alice Smith\""},
      {" ", "\" \""},
      {"", ""},
      {"a\tb", "a\tb"},
      {"a=b;[c]\"d\"", "a=b;[c]\"d\""},
      {"a\u00A0b\u2003c", "a\u00A0b\u2003c"},
      {"é 日", "\"é 日\""},
      {"line\nbreak", "line\nbreak"},
      {Ref<NSObject>(as<NSObject>(Ref<NSString>("Alice Smith")->mutableCopy())), "\"Alice Smith\""},
      {5, "\"5\""},
      {-2.5, "\"-2.5\""},
      {true, "\"1\""},
      {false, "\"0\""},
      {NSDate::dateWithTimeIntervalSinceReferenceDate(0), "\"2001-01-01 00:00:00 +0000\""},
      {NSData::dataWithBytes("\x01\xFF"), "\"<01ff>\""},
  };
  for (const auto& [value, text] : cases) EXPECT_EQ(writeINI(fileWith(value)), "[S]\nk=" + text + "\n\n");
}

// A space with a mark on it is another character; the test for a space knows that.
TEST(INIWriterTests, ASpaceThatIsPartOfACharacterIsNoSpace) {
  const Ref<NSString> marked = "a \u0301b";
  EXPECT_EQ(writeINI(fileWith(marked)), "[S]\nk=a \u0301b\n\n");
  EXPECT_EQ(writeINI(fileWith("a \u0301b c")), "[S]\nk=\"a \u0301b c\"\n\n");
}

TEST(INIWriterTests, OwnersMayLetGoOfTheFileThatIsWritten) {
  Owner owner;
  owner.file = NSDictionary::of({{make<Leaver>(owner), NSDictionary::of({{"k", "v"}})}, {"T", NSDictionary::of({})}});
  const Ref<NSData> data = QvPropertyListSerialization::dataFromPropertyList_format_errorDescription(
      owner.file, QvPropertyListINIFormat, nullptr);
  EXPECT_FALSE(owner.file);
  EXPECT_EQ(textOf(data), "[left]\nk=v\n\n[T]\n\n");
}

// A program whose own addresses of the library's functions are not those that the library has.
TEST(INIWriterTests, HostsAtAFixedPlaceHaveTheirMethodsAsked) { EXPECT_EQ(std::system(ZT_TEST_HOSTS "/FixedHost"), 0); }

TEST(INIWriterTests, NothingIsEscaped) {
  const Ref<NSDictionary> file = NSDictionary::dictionaryWithObject_forKey(
      NSDictionary::dictionaryWithEntries({{";a=\n[x]", "v"}, {"", "w"}}), "]\n[");
  EXPECT_EQ(writeINI(file), "[]\n[]\n;a=\n[x]=v\n=w\n\n");
}

TEST(INIWriterTests, KeysThatAreNoStringsAreDescribed) {
  EXPECT_EQ(writeINI(fileWith("v", 12)), "[S]\n12=v\n\n");
  EXPECT_EQ(writeINI(fileWith("v", true)), "[S]\n1=v\n\n");
  EXPECT_EQ(writeINI(fileWith("v", make<Label>())), "[S]\na label=v\n\n");
  EXPECT_EQ(writeINI(fileWith("v", make<Relabelled>())), "[S]\nanother label=v\n\n");
  EXPECT_EQ(writeINI(fileWith("v", make<Nameless>())), "[S]\n(null)=v\n\n");
  const Ref<NSDictionary> section = NSDictionary::dictionaryWithObject_forKey("v", "k");
  EXPECT_EQ(writeINI(NSDictionary::dictionaryWithObject_forKey(section, 2.5)), "[2.5]\nk=v\n\n");
}

TEST(INIWriterTests, WhatIsNotValidIsNotWritten) {
  for (const Ref<NSObject>& value :
       {Ref<NSObject>(), Ref<NSObject>("text"), Ref<NSObject>(NSArray::of(1)),
        Ref<NSObject>(NSDictionary::dictionaryWithObject_forKey("no section", "S")),
        Ref<NSObject>(fileWith(NSArray::of(1))), Ref<NSObject>(fileWith(NSDictionary::dictionary()))}) {
    EXPECT_EQ(writeINI(value), std::nullopt);
  }
}

TEST(INIWriterTests, UnpairedSurrogatesCannotBeWritten) {
  for (const std::u16string_view text : {u"\xD800", u"a\xDC00z", u" \xD83D ", u"\xDE00\xD83D"}) {
    const Ref<NSString> broken = text;
    EXPECT_EQ(writeINI(fileWith(broken)), std::nullopt);
    EXPECT_EQ(writeINI(fileWith("v", broken)), std::nullopt);
    EXPECT_EQ(writeINI(NSDictionary::dictionaryWithObject_forKey(NSDictionary::dictionary(), broken)), std::nullopt);
  }
  // Halves that meet only in the text still do not pair.
  EXPECT_EQ(writeINI(fileWith(u"\xDE00", u"\xD83D")), std::nullopt);
}

// --- The receiving class

const Ref<NSDictionary>& fileWithArray() {
  static const Ref<NSDictionary> file = fileWith(NSArray::of(1, 2));
  return file;
}

TEST(INIWriterTests, ADerivedClassDecidesWhatIsValid) {
  const std::string text =
      "[S]\nk=\"" + as<NSArray>(as<NSDictionary>(fileWithArray()->lookUp("S"))->lookUp("k"))->description()->utf8() +
      "\"\n\n";
  EXPECT_EQ(textOf(AcceptsAnything::dataFromPropertyList_format_errorDescription<AcceptsAnything>(
                fileWithArray(), QvPropertyListINIFormat, nullptr)),
            text);
  EXPECT_EQ(textOf(QvPropertyListSerialization::dataFromPropertyList_format_errorDescription(
                AnswersMessages::classObject(), fileWithArray(), QvPropertyListINIFormat, nullptr)),
            text);
  EXPECT_EQ(textOf(AnswersMessages::dataFromPropertyList_format_errorDescription<AnswersMessages>(
                fileWithArray(), QvPropertyListINIFormat, nullptr)),
            text);
}

TEST(INIWriterTests, ADerivedClassMayRefuseWhatIsValid) {
  const Ref<NSString> untouched = "untouched";
  Ref<NSString> error = untouched;
  EXPECT_FALSE(RefusesAnything::dataFromPropertyList_format_errorDescription<RefusesAnything>(
      fileWith("v"), QvPropertyListINIFormat, &error));
  EXPECT_EQ(error, untouched);
}

TEST(INIWriterTests, ADerivedClassIsAskedAboutTheValueAndTheFormat) {
  const Ref<NSObject> value = fileWith("v");
  EXPECT_TRUE(
      AsksBack::dataFromPropertyList_format_errorDescription<AsksBack>(value, QvPropertyListINIFormat, nullptr));
  EXPECT_EQ(std::exchange(AsksBack::askedAbout, nullptr), value);
  EXPECT_EQ(AsksBack::askedFor, QvPropertyListINIFormat);
}

TEST(INIWriterTests, ADerivedClassHasNoSayInOtherFormats) {
  Ref<NSString> error = "old";
  const Ref<NSData> expected = NSPropertyListSerialization::dataFromPropertyList_format_errorDescription(
      fileWithArray(), NSPropertyListXMLFormat_v1_0, nullptr);
  EXPECT_TRUE(isEqual(AcceptsAnything::dataFromPropertyList_format_errorDescription<AcceptsAnything>(
                          fileWithArray(), NSPropertyListXMLFormat_v1_0, &error),
                      expected));
  EXPECT_FALSE(error);
  EXPECT_FALSE(
      AcceptsAnything::dataFromPropertyList_format_errorDescription<AcceptsAnything>(fileWithArray(), 1, &error));
  EXPECT_TRUE(error);
  EXPECT_TRUE(isEqual(RefusesAnything::dataFromPropertyList_format_errorDescription<RefusesAnything>(
                          fileWithArray(), NSPropertyListXMLFormat_v1_0, nullptr),
                      expected));
}

TEST(INIWriterTests, ADerivedClassThatSaysNothingInherits) {
  EXPECT_FALSE(Unchanged::dataFromPropertyList_format_errorDescription<Unchanged>(fileWithArray(),
                                                                                  QvPropertyListINIFormat, nullptr));
  EXPECT_FALSE(QvPropertyListSerialization::dataFromPropertyList_format_errorDescription(
      Unchanged::classObject(), fileWithArray(), QvPropertyListINIFormat, nullptr));
  EXPECT_EQ(textOf(Unchanged::dataFromPropertyList_format_errorDescription<Unchanged>(
                fileWith("v"), QvPropertyListINIFormat, nullptr)),
            "[S]\nk=v\n\n");
}

TEST(INIWriterTests, WhatHasNoSectionsIsRefusedEvenIfDeclaredValid) {
  for (const Ref<NSObject>& value : {Ref<NSObject>(), Ref<NSObject>(NSArray::of(1)),
                                     Ref<NSObject>(NSDictionary::dictionaryWithObject_forKey(1, "S"))}) {
    EXPECT_FALSE(AcceptsAnything::dataFromPropertyList_format_errorDescription<AcceptsAnything>(
        value, QvPropertyListINIFormat, nullptr));
  }
}

TEST(INIWriterTests, NoClassAnswersNone) {
  EXPECT_FALSE(QvPropertyListSerialization::dataFromPropertyList_format_errorDescription(
      Class(nullptr), fileWith("v"), QvPropertyListINIFormat, nullptr));
}

TEST(INIWriterTests, OtherFormatsAreWrittenByTheCodec) {
  for (const QvPropertyListFormat format : {100, 200}) {
    Ref<NSString> error = "old";
    const Ref<NSData> data =
        QvPropertyListSerialization::dataFromPropertyList_format_errorDescription(fileWithArray(), format, &error);
    EXPECT_FALSE(error);
    EXPECT_TRUE(isEqual(data, NSPropertyListSerialization::dataFromPropertyList_format_errorDescription(
                                  fileWithArray(), static_cast<NSUInteger>(format), nullptr)));
  }
  for (const QvPropertyListFormat format : {1, 0, -1, 65536}) {
    Ref<NSString> error;
    EXPECT_FALSE(
        QvPropertyListSerialization::dataFromPropertyList_format_errorDescription(fileWithArray(), format, &error));
    EXPECT_TRUE(error) << format;
  }
}

// --- There and back

TEST(INIWriterTests, OnlyStringsWithoutSpacesComeBackAsTheyWere) {
  const Ref<NSDictionary> section = NSDictionary::dictionaryWithEntries(
      {{"Plain", "Alice"}, {"Spaced", "Alice Smith"}, {"Number", 5}, {"Flag", true}, {"Ünï", "日本"}});
  const Ref<NSData> data = QvPropertyListSerialization::dataFromPropertyList_format_errorDescription(
      NSDictionary::dictionaryWithObject_forKey(section, "S"), QvPropertyListINIFormat, nullptr);
  QvPropertyListFormat format = QvPropertyListINIFormat;
  const Ref<NSObject> read = QvPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
      data, 0, &format, nullptr);
  const Ref<NSDictionary> expected = NSDictionary::dictionaryWithEntries(
      {{"Plain", "Alice"}, {"Spaced", "\"Alice Smith\""}, {"Number", "\"5\""}, {"Flag", "\"1\""}, {"Ünï", "日本"}});
  EXPECT_TRUE(isEqual(as<NSDictionary>(read)->objectForKey("S"), expected)) << read;
}

TEST(INIWriterTests, FilesAreTheSameForEveryMachineWord) {
  const Ref<NSData> data = QvPropertyListSerialization::dataFromPropertyList_format_errorDescription(
      interchangedValue(), QvPropertyListINIFormat, nullptr);
  ASSERT_TRUE(data);
  EXPECT_EQ(data->view(), interchangedFile("settings.ini"));
}

}  // namespace
}  // namespace ZtFoundation::test
