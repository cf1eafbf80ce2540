#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Values.h>

#include <iostream>

#include "Steps.h"

using namespace ZtFoundation;

void tour::iniText() {
  const Ref<NSDictionary> settings = NSDictionary::of({
      {"Window", NSDictionary::of({{"Title", "Notes of today"}, {"Theme", "dark"}, {"Width", 1024}})},
  });
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath_format("notes.ini", QvPropertyListINIFormat);
  store->setValues(settings);
  if (!store->saveChanges()) std::cout << "not saved" << std::endl;
  std::cout << NSData::dataWithContentsOfFile("notes.ini")->view();

  const Ref<QvPropertyList> later = QvPropertyList::initWithPath_format("notes.ini", QvPropertyListINIFormat);
  for (const auto& [key, value] : *valueAt<NSDictionary>(later->values(), "Window")) {
    std::cout << key << " is the string " << as<NSString>(value) << '\n';
  }

  const Ref<NSDictionary> nested = NSDictionary::of({{"Window", NSDictionary::of({{"Size", NSArray::of(1024, 768)}})}});
  const bool fits = QvPropertyListSerialization::propertyList_isValidForFormat(nested, QvPropertyListINIFormat);
  std::cout << "INI text " << (fits ? "holds" : "cannot hold") << " an array\n";
}

void tour::convert() {
  const Ref<QvPropertyList> old = QvPropertyList::initWithPath_format("notes.ini", QvPropertyListINIFormat);
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath("notes.plist");
  store->setValues(old->values());
  if (!store->saveChanges()) std::cout << "not saved\n";
  const Ref<NSData> xml = NSData::dataWithContentsOfFile("notes.plist");
  std::cout << xml->view().substr(xml->view().find("<dict>"));

  store->setFormat(NSPropertyListBinaryFormat_v1_0);
  if (!store->saveChanges()) std::cout << "not saved\n";
  std::cout << NSData::dataWithContentsOfFile("notes.plist")->view().substr(0, 8) << "...\n";
  std::cout << "format " << QvPropertyList::initWithPath("notes.plist")->format() << '\n';
}
