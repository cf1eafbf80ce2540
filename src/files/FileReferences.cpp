#include <ZtFoundation/Files.h>

#include "platform/services/Aliases.h"
#include "platform/services/FileCatalog.h"
#include "platform/services/Service.h"

namespace ZtFoundation::JxFileSystemRepresentation {

namespace {

using NewAlias = OSErr (Aliases::*)(const FSRef*, AliasHandle*);

bool resolve(AliasHandle alias, FSRef& ref) { return service<Aliases>().FSResolveAlias(alias, &ref, nullptr) == noErr; }

bool makeAlias(const Ref<NSURL>& url, AliasHandle* alias, NewAlias make) {
  FSRef ref;
  return URLToFSRef(url, &ref) && (service<Aliases>().*make)(&ref, alias) == noErr;
}

bool makeAlias(const Ref<NSString>& path, AliasHandle* alias, NewAlias make) {
  FSRef ref;
  return pathStringToFSRef(path, &ref) && (service<Aliases>().*make)(&ref, alias) == noErr;
}

bool describe(const FSRef& ref, FSSpec* description) {
  return service<FileCatalog>().FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, description) == noErr;
}

}  // namespace

Ref<NSString> pathStringFromFSRef(const FSRef* ref) {
  const Ref<NSURL> url = service<FileCatalog>().CFURLCreateFromFSRef(ref);
  return url ? url->path() : nullptr;
}

Ref<NSString> pathStringFromAliasHandle(AliasHandle alias) {
  FSRef ref;
  return resolve(alias, ref) ? pathStringFromFSRef(&ref) : nullptr;
}

bool pathStringToFSRef(const Ref<NSString>& self, FSRef* ref) {
  return service<FileCatalog>().CFURLGetFSRef(NSURL::fileURLWithPath(self), ref);
}

bool pathStringToAlias(const Ref<NSString>& self, AliasHandle* alias) {
  return makeAlias(self, alias, &Aliases::FSNewAlias);
}

bool pathStringToAliasMinimal(const Ref<NSString>& self, AliasHandle* alias) {
  return makeAlias(self, alias, &Aliases::FSNewAliasMinimal);
}

bool pathStringToFSSpec(const Ref<NSString>& self, FSSpec* description) {
  FSRef ref;
  return description != nullptr && pathStringToFSRef(self, &ref) && describe(ref, description);
}

Ref<NSURL> URLFromFSRef(const FSRef* ref) { return NSURL::fileURLWithPath(pathStringFromFSRef(ref)); }

Ref<NSURL> URLFromAliasHandle(AliasHandle alias) { return NSURL::fileURLWithPath(pathStringFromAliasHandle(alias)); }

bool URLToFSRef(const Ref<NSURL>& self, FSRef* ref) { return service<FileCatalog>().CFURLGetFSRef(self, ref); }

bool URLToAlias(const Ref<NSURL>& self, AliasHandle* alias) { return makeAlias(self, alias, &Aliases::FSNewAlias); }

bool URLToAliasMinimal(const Ref<NSURL>& self, AliasHandle* alias) {
  return makeAlias(self, alias, &Aliases::FSNewAliasMinimal);
}

bool URLToFSSpec(const Ref<NSURL>& self, FSSpec* description) {
  FSRef ref;
  return description != nullptr && URLToFSRef(self, &ref) && describe(ref, description);
}

}  // namespace ZtFoundation::JxFileSystemRepresentation
