#include <ZtFoundation/Files.h>

namespace ZtFoundation {

constinit const std::string_view QvRootDirectoryPath = "/";
constinit const std::string_view QvVolumesDirectoryPath = "/Volumes";

bool QvPathExtensions::isRootDirectoryPath(const Ref<NSString>& self) {
  return self && self->isEqualToString(QvRootDirectoryPath);
}

bool QvPathExtensions::isVolumesDirectoryPath(const Ref<NSString>& self) {
  return self && self->isEqualToString(QvVolumesDirectoryPath);
}

}  // namespace ZtFoundation
