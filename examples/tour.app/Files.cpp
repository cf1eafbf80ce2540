#include <ZtFoundation/Files.h>
#include <ZtFoundation/Text.h>
#include <ZtFoundation/Utilities.h>

#include <algorithm>
#include <iostream>
#include <vector>

#include "Steps.h"

using namespace ZtFoundation;

void tour::settingsFolder() {
  const Ref<NSFileManager> files = NSFileManager::defaultManager();
  const Ref<NSString> folder =
      QvFoundationExtensions::findFolderForType_inDomain_create(files, kPreferencesFolderType, kUserDomain, true);
  if (!folder) return;
  const Ref<NSString> path =
      folder->stringByAppendingPathComponent("com.example.notes")->stringByAppendingPathComponent("notes.plist");
  std::cout << path << std::endl;

  for (const OSType type : {kDocumentsFolderType, kCachedDataFolderType, kApplicationSupportFolderType}) {
    std::cout << QvFoundationExtensions::findFolderForType_inDomain_create(files, type, kUserDomain, true) << std::endl;
  }
  if (!QvFoundationExtensions::findFolderForType_inDomain_create(files, kMusicDocumentsFolderType, kUserDomain,
                                                                 false)) {
    std::cout << "no folder for music yet" << std::endl;
  }
}

void tour::sorting() {
  std::vector<Ref<NSString>> names = {"Note 10", "Äpfel", "note 9", "Zebra", "apple"};
  std::ranges::stable_sort(names, [](const Ref<NSString>& a, const Ref<NSString>& b) {
    return QvFoundationExtensions::naturalCompare(a, b) == NSOrderedAscending;
  });
  for (const auto& name : names) std::cout << name << '\n';

  const Ref<NSString> position = "Note %1 of %2";
  std::cout << JxReplacementExtensions::stringWithParameterArray(position, NSArray::of(3, names.size())) << '\n';
}

void tour::copyToFreeName() {
  const Ref<NSFileManager> files = NSFileManager::defaultManager();
  const Ref<NSString> documents =
      QvFoundationExtensions::findFolderForType_inDomain_create(files, kDocumentsFolderType, kUserDomain, true);
  const Ref<NSString> note = documents->stringByAppendingPathComponent("todo.txt");
  JxFileOperation::createFileWithContents(note, NSData::dataWithBytes("milk\n"));

  const OSStatus refused = JxFileOperation::copyFileTo(note, note);
  std::cout << "the name is taken: " << (refused == dupFNErr ? "yes" : "no") << '\n';

  std::cout << "free is " << JxTalvoZtWdExensions::unusedTalvoFilePath(note)->lastPathComponent() << '\n';
  const OSStatus status = JxTalvoZtWdExensions::copyFileTo_autoname(note, note, true);
  std::cout << "copied: " << (status == noErr ? "yes" : "no") << '\n';
  std::cout << "free is " << JxTalvoZtWdExensions::unusedTalvoFilePath(note)->lastPathComponent() << '\n';
}
