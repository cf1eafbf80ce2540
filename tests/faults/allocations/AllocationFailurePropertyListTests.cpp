// Property lists, their formats, their copies and the store with each of their allocations failing.
#include <string>

#include <gtest/gtest.h>

#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Bundle.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Notification.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/PropertyListCopy.h>
#include <ZtFoundation/platform/PropertyListSerialization.h>
#include <ZtFoundation/platform/Runtime.h>

#include <support/FailingAllocations.h>
#include <support/ScratchFolder.h>

namespace ZtFoundation::test {

// Tells of itself as a property list.
class FaultyPage : public NSObject {
  ZT_OBJECT(FaultyPage, NSObject)
 public:
  Ref<NSDictionary> propertyListRepresentation() const { return NSDictionary::of({{"Title", "a title"}}); }
  Ref<NSObject> initWithPropertyListRepresentation(const Ref<NSDictionary>&) { return this; }
  Ref<NSString> description() const override { return "a page"; }
};
ZT_REGISTER_CLASS(FaultyPage, ZT_METHOD("propertyListRepresentation", &FaultyPage::propertyListRepresentation),
                  ZT_METHOD("initWithPropertyListRepresentation:", &FaultyPage::initWithPropertyListRepresentation));

namespace {

using Formats = NSPropertyListSerialization;

Ref<NSDictionary> everyKind() {
  return NSDictionary::of({{"Text", "plain & <marked>"},
                           {"Wide", u"日本語の文字列"},
                           {"Whole", -123456},
                           {"Large", ~0ULL},
                           {"Real", 0.1},
                           {"Truth", true},
                           {"When", NSDate::dateWithTimeIntervalSinceReferenceDate(1e6)},
                           {"Bytes", NSData::dataWithBytes("some bytes that are encoded")},
                           {"List", NSArray::of("one", 2, NSArray::of("three", NSDictionary::of({{"four", 4}})))},
                           {"Empty", NSArray::array()}});
}

Ref<NSData> written(NSUInteger format) {
  return Formats::dataFromPropertyList_format_errorDescription(everyKind(), format, nullptr);
}

struct Values {
  Ref<NSDictionary> value = everyKind();
  Ref<NSData> xml = written(NSPropertyListXMLFormat_v1_0);
  Ref<NSData> binary = written(NSPropertyListBinaryFormat_v1_0);
  Ref<NSData> openStep = NSData::dataWithBytes(
      "{ Name = \"quoted \\U65e5 text\"; List = (one, two, { a = <0fbd77 1c2735ae>; }); \"Gr\\374n\" = yes; }");
  Ref<NSData> utf16 = NSData::dataWithBytes(std::string_view("\xFE\xFF\0(\0a\0,\0b\0)", 12));
  Ref<NSData> ini = NSData::dataWithBytes("[Main]\nName=Alice\nCount=\"5\"\n\n[Other]\nKey=Value\n");
  Ref<NSDictionary> sections =
      NSDictionary::of({{"Main", NSDictionary::of({{"Name", "Alice and Bob"}, {"Count", 5}})}});
  Ref<NSArray> list = NSArray::of("a", NSDictionary::of({{"b", NSArray::of("c", 1)}}));
  Ref<NSArray> pages = NSArray::of(make<FaultyPage>(), "no page", make<FaultyPage>());

  std::string describe() const { return answerText(value).append(answerText(pages)); }
};

std::string read(const Ref<NSData>& data, NSUInteger option) {
  NSUInteger format = 0;
  Ref<NSString> error;
  const Ref<NSObject> value =
      Formats::propertyListFromData_mutabilityOption_format_errorDescription(data, option, &format, &error);
  const allocations::Unwatched unwatched;
  return answerText(value).append(answerText(error)).append(answerText(format));
}

TEST(AllocationFailurePropertyList, Reading) {
  const EachOf<Values> each;
  using V = Values;
  for (const NSUInteger option :
       {NSPropertyListImmutable, NSPropertyListMutableContainers, NSPropertyListMutableContainersAndLeaves}) {
    const std::string suffix = ", option " + std::to_string(option) + ")";
    each("NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription (XML" + suffix,
         [=](V& v) { return read(v.xml, option); });
    each("NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription (binary" + suffix,
         [=](V& v) { return read(v.binary, option); });
    each(
        "NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription (OpenStep" + suffix,
        [=](V& v) { return read(v.openStep, option); });
  }
  each("NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription (UTF-16)",
       [](V& v) { return read(v.utf16, 0); });
  for (const char* broken : {"<plist><dict><key>a</key></plist>",
                             "<?xml version='1.0' encoding='EUC-JP'?><plist><string>\xC6\xFC\xCB\xDC</string></plist>",
                             "{ a = ", "bplist00\x08", "( one, two ", "<plist><date>tomorrow</date></plist>"}) {
    each(std::string("NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription (") +
             broken + ")",
         [=](V&) { return read(NSData::dataWithBytes(broken), 1); });
  }
}

TEST(AllocationFailurePropertyList, Writing) {
  const EachOf<Values> each;
  using V = Values;
  each("NSPropertyListSerialization::dataFromPropertyList_format_errorDescription (XML)", [](V& v) {
    return Formats::dataFromPropertyList_format_errorDescription(v.value, NSPropertyListXMLFormat_v1_0, nullptr);
  });
  each("NSPropertyListSerialization::dataFromPropertyList_format_errorDescription (binary)", [](V& v) {
    return Formats::dataFromPropertyList_format_errorDescription(v.value, NSPropertyListBinaryFormat_v1_0, nullptr);
  });
  for (const NSUInteger format : {NSPropertyListXMLFormat_v1_0, NSPropertyListBinaryFormat_v1_0}) {
    each("NSPropertyListSerialization::dataFromPropertyList_format_errorDescription (refused, " +
             std::to_string(format) + ")",
         [=](V& v) {
           Ref<NSString> error;
           Formats::dataFromPropertyList_format_errorDescription(v.pages, format, &error);
           return error;
         });
    each("NSPropertyListSerialization::propertyList_isValidForFormat (" + std::to_string(format) + ")",
         [=](V& v) { return Formats::propertyList_isValidForFormat(v.value, format); });
  }
}

TEST(AllocationFailurePropertyList, AllFormats) {
  const EachOf<Values> each;
  using V = Values;
  using Q = QvPropertyListSerialization;
  each("QvPropertyListSerialization::propertyList_isValidForFormat",
       [](V& v) { return Q::propertyList_isValidForFormat(v.sections, QvPropertyListINIFormat); });
  each("QvPropertyListSerialization::propertyList_isValidForFormat (receiver)",
       [](V& v) { return Q::propertyList_isValidForFormat(Q::classObject(), v.value, NSPropertyListXMLFormat_v1_0); });
  each("QvPropertyListSerialization::dataFromPropertyList_format_errorDescription", [](V& v) {
    return Q::dataFromPropertyList_format_errorDescription(v.sections, QvPropertyListINIFormat, nullptr);
  });
  each("QvPropertyListSerialization::dataFromPropertyList_format_errorDescription (class)", [](V& v) {
    return Q::dataFromPropertyList_format_errorDescription<Q>(v.sections, QvPropertyListINIFormat, nullptr);
  });
  each("QvPropertyListSerialization::dataFromPropertyList_format_errorDescription (XML)", [](V& v) {
    return Q::dataFromPropertyList_format_errorDescription(v.value, NSPropertyListXMLFormat_v1_0, nullptr);
  });
  each("QvPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription", [](V& v) {
    QvPropertyListFormat format = QvPropertyListINIFormat;
    return Q::propertyListFromData_mutabilityOption_format_errorDescription(v.ini, 1, &format, nullptr);
  });
  each("QvPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription (immutable)",
       [](V& v) {
         QvPropertyListFormat format = QvPropertyListINIFormat;
         return Q::propertyListFromData_mutabilityOption_format_errorDescription(v.ini, 0, &format, nullptr);
       });
  each("QvPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription (XML)", [](V& v) {
    QvPropertyListFormat format = NSPropertyListXMLFormat_v1_0;
    return Q::propertyListFromData_mutabilityOption_format_errorDescription(v.binary, 2, &format, nullptr);
  });
  each(
      "QvPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription (no format)",
      [](V& v) { return Q::propertyListFromData_mutabilityOption_format_errorDescription(v.ini, 1, nullptr, nullptr); },
      {.throwsAnyway = true});
  each("QvPropertyListSerialization::classObject", [](V&) { return Q::classObject(); });
}

TEST(AllocationFailurePropertyList, Copies) {
  const EachOf<Values> each;
  using V = Values;
  each("propertyListWithSortedKeys", [](V& v) { return propertyListWithSortedKeys(v.value); });
  each("CFPropertyListCreateDeepCopy", [](V& v) { return CFPropertyListCreateDeepCopy(v.value, 2); });
  each("CFPropertyListCreateDeepCopy (immutable)", [](V& v) { return CFPropertyListCreateDeepCopy(v.value, 0); });
  each("CFPropertyListCreateDeepCopy (no property list)",
       [](V& v) { return CFPropertyListCreateDeepCopy(v.pages, 1); });
  each("detail::copyContainers", [](V& v) { return detail::copyContainers(v.value); });
  each("detail::RepetitionBudget::spend", [](V& v) {
    detail::RepetitionBudget budget(*v.value);
    return budget.spend(2 * kRepeatedElements);
  });
  each("QvFoundationExtensions::propertyListFromPropertyList_mutabilityOption_errorDescription", [](V& v) {
    Ref<NSString> error;
    return QvFoundationExtensions::propertyListFromPropertyList_mutabilityOption_errorDescription(v.value, 1, &error);
  });
  each("JxPropertyListExtensions::deepCopyWithMutabilityContainersAndLeavesOption",
       [](V& v) { return JxPropertyListExtensions::deepCopyWithMutabilityContainersAndLeavesOption(v.list); });
  each("JxPropertyListExtensions::deepCopyWithMutabilityContainersAndLeavesOption (dictionary)",
       [](V& v) { return JxPropertyListExtensions::deepCopyWithMutabilityContainersAndLeavesOption(v.value); });
  each("JxPropertyListExtensions::propertyListRepresentation",
       [](V& v) { return JxPropertyListExtensions::propertyListRepresentation(v.pages); });
  each("JxPropertyListExtensions::arrayFromPropertyListRepresentation", [](V& v) {
    return JxPropertyListExtensions::arrayFromPropertyListRepresentation(
        NSArray::of(NSDictionary::of({{"ClassForPlistRep", "FaultyPage"}}), v.list));
  });
  each("QvFoundationExtensions::deepMutableCopy", [](V& v) { return QvFoundationExtensions::deepMutableCopy(v.list); });
  each("QvFoundationExtensions::deepMutableCopy (dictionary)",
       [](V& v) { return QvFoundationExtensions::deepMutableCopy(v.value); });
  each("QvFoundationExtensions::differencesFromDictionary", [](V& v) {
    return QvFoundationExtensions::differencesFromDictionary(
        v.value, NSDictionary::of({{"Text", "other"}, {"Whole", -123456}, {"List", NSArray::array()}}));
  });
}

// --- The store

template <QvPropertyListFormat format>
struct Store {
  ScratchFolder folder;
  Ref<NSString> path = folder.string("new/Settings");
  Ref<QvPropertyList> store = loaded();

  Ref<QvPropertyList> loaded() const {
    std::filesystem::create_directory(folder / "new");
    writeFile(folder / "new/Settings", fileText());
    const Ref<QvPropertyList> made = QvPropertyList::initWithPath_format(path, format);
    as<NSMutableDictionary>(made->values())->setObject_forKey(NSDictionary::of({{"k", "v"}}), "Added");
    return made;
  }
  static std::string fileText() {
    if (format == QvPropertyListINIFormat) return "[Main]\nName=Alice\n";
    return "<plist><dict><key>Name</key><dict><key>k</key><string>v</string></dict></dict></plist>";
  }
  std::string describe() const {
    std::string text = answerText(store->values()).append(answerText(store->_serializedValues()));
    text.append(answerText(store->format())).append(contentsOf(folder / "new/Settings").value_or("no file"));
    for (const std::string& name : folder.names()) text.append(name);
    return text;
  }
};
using Settings = Store<NSPropertyListXMLFormat_v1_0>;
using INISettings = Store<QvPropertyListINIFormat>;

TEST(AllocationFailurePropertyList, Store) {
  const EachOf<Settings> each;
  using S = Settings;
  each("QvPropertyList::QvPropertyList", [](S&) { return make<QvPropertyList>()->format(); });
  each("QvPropertyList::initWithPath", [](S& s) { return QvPropertyList::initWithPath(s.path)->values(); });
  each("QvPropertyList::initialiseAsXML", [](S& s) {
    return send<Ref<QvPropertyList>>(make<QvPropertyList>(), ZT_SELECTOR("initWithPath:"), s.path)->values();
  });
  each("QvPropertyList::initWithPath_format",
       [](S& s) { return QvPropertyList::initWithPath_format(s.path, NSPropertyListBinaryFormat_v1_0)->format(); });
  each("QvPropertyList::initWithPath (no file)",
       [](S& s) { return QvPropertyList::initWithPath(s.folder.string("none"))->values(); });
  each("QvPropertyList::hasUnsavedChanges", [](S& s) { return s.store->hasUnsavedChanges(); });
  each("QvPropertyList::saveChanges", [](S& s) { return s.store->saveChanges(); });
  each("QvPropertyList::synchronize", [](S& s) { return s.store->synchronize(); });
  each("QvPropertyList::saveMergedChanges", [](S& s) { return s.store->saveMergedChanges(); });
  each("QvPropertyList::discardChanges", [](S& s) { s.store->discardChanges(); });
  each("QvPropertyList::readError", [](S& s) { return s.store->readError(); });
  each("QvPropertyList::classObject", [](S&) { return QvPropertyList::classObject(); });
}

TEST(AllocationFailurePropertyList, StoreOfINIText) {
  const EachOf<INISettings> each;
  using S = INISettings;
  each("QvPropertyList::initialiseInFormat (INI)",
       [](S& s) { return QvPropertyList::initWithPath_format(s.path, QvPropertyListINIFormat)->values(); });
  each("QvPropertyList::hasUnsavedChanges (INI)", [](S& s) { return s.store->hasUnsavedChanges(); });
}

// --- Resources

struct Resources {
  ScratchFolder folder;
  Ref<NSBundle> bundle = filled();

  Ref<NSBundle> filled() const {
    writeFile(folder / "Defaults.plist", "<plist><dict><key>a</key><string>b</string></dict></plist>");
    return NSBundle::bundleWithPath(folder.string(""));
  }
};

TEST(AllocationFailurePropertyList, Resources) {
  const EachOf<Resources> each;
  using R = Resources;
  using namespace JxResourcesExtensions;
  each("JxResourcesExtensions::propertyListWithResourceNamed",
       [](R& r) { return propertyListWithResourceNamed(r.bundle, "Defaults.plist"); });
  each("JxResourcesExtensions::mutablePropertyListWithResourceNamed",
       [](R& r) { return mutablePropertyListWithResourceNamed(r.bundle, "Defaults.plist"); });
  each("JxResourcesExtensions::propertyListWithResourceNamed_bundleForClass",
       [](R&) { return propertyListWithResourceNamed_bundleForClass("none.plist", FaultyPage::classObject()); });
  each("JxResourcesExtensions::mutablePropertyListWithResourceNamed_bundleForClass",
       [](R&) { return mutablePropertyListWithResourceNamed_bundleForClass("none.plist", FaultyPage::classObject()); });
  each("JxResourcesExtensions::_plistWithPath_mutabilityOption",
       [](R& r) { return _plistWithPath_mutabilityOption(r.bundle, r.folder.string("Defaults.plist"), 2); });
  using namespace QvPropertyListExtensions;
  each("QvPropertyListExtensions::propertyListForResourceNamed_ofType",
       [](R& r) { return propertyListForResourceNamed_ofType(r.bundle, "Defaults", "plist")->values(); });
  each("QvPropertyListExtensions::propertyListForResourceNamed_ofType_inDirectory", [](R& r) {
    return propertyListForResourceNamed_ofType_inDirectory(r.bundle, "Defaults", "plist", "")->values();
  });
  each("QvPropertyListExtensions::propertyListForResourceNamed_ofType_inDirectory_forLocalization", [](R& r) {
    return propertyListForResourceNamed_ofType_inDirectory_forLocalization(r.bundle, "Defaults", "plist", "", "en")
        ->values();
  });
}

}  // namespace
}  // namespace ZtFoundation::test
