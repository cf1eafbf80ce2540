#include <ZtFoundation/Files.h>

#include "platform/services/OpenFiles.h"
#include "platform/services/Service.h"

namespace ZtFoundation {

Ref<NSString> QvFoundationExtensions::pathForFileDescriptor(const Ref<NSFileManager>& self, std::int32_t descriptor) {
  return self ? service<OpenFiles>().pathForFileDescriptor(descriptor) : nullptr;
}

}  // namespace ZtFoundation
