/// \file KeyPath.h
/// Key paths: the keys and indexes that lead from the root to a value, with "." between them.
///
/// A backslash takes the meaning from the character after it, so `a\.b` is the one key "a.b" and `\\` a backslash;
/// `\n`, `\r`, `\t` and `\uXXXX` stand for the characters that they stand for elsewhere. "/" alone is the root, and
/// `\/` the key "/".
#pragma once

#include <ZtFoundation/platform/String.h>

#include <string>
#include <string_view>
#include <vector>

namespace ztplist {

using KeyPath = std::vector<ZtFoundation::Ref<ZtFoundation::NSString>>;

/// Throws Failure for a backslash at the end, digits missing after `\u`, and text that is not UTF-8.
KeyPath parseKeyPath(std::string_view text);
/// The text that `parseKeyPath` turns into the path again.
std::string keyPathText(const KeyPath& path);
/// The same for people, of bounded length: … stands for the rest of long keys and for what lies in the middle of many.
std::string shownKeyPath(const KeyPath& path);

/// The value at `path`, null when there is none.
ZtFoundation::NSObject* findValue(const ZtFoundation::Ref<ZtFoundation::NSObject>& root, const KeyPath& path);
/// The shortest beginning of `path` at which there is nothing, for messages.
std::string firstMissing(const ZtFoundation::Ref<ZtFoundation::NSObject>& root, const KeyPath& path);

/// Puts `value` at `path` and answers the root. Dictionaries on the way that are missing are made; the index that is
/// the count of an array appends. Containers must be mutable. Throws Failure when `path` goes through a value that
/// holds no others.
ZtFoundation::Ref<ZtFoundation::NSObject> setValue(const ZtFoundation::Ref<ZtFoundation::NSObject>& root,
                                                   const KeyPath& path,
                                                   const ZtFoundation::Ref<ZtFoundation::NSObject>& value);
/// Takes the value at `path`, which is not the root, out of its container. False when there is none.
bool removeValue(const ZtFoundation::Ref<ZtFoundation::NSObject>& root, const KeyPath& path);

}  // namespace ztplist
