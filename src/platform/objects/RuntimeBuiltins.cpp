#include "platform/objects/RuntimeState.h"

// The linker puts these around the array that ZT_LIST_CLASS makes.
extern "C" [[gnu::visibility("hidden")]] ZtFoundation::RuntimeClass::Parent __start_zt_classes[];
extern "C" [[gnu::visibility("hidden")]] ZtFoundation::RuntimeClass::Parent __stop_zt_classes[];

namespace ZtFoundation::detail {

Class builtinClass(std::string_view name) {
  for (const RuntimeClass::Parent* listed = __start_zt_classes; listed != __stop_zt_classes; ++listed) {
    if (Class one = (*listed)(); one->name() == name) return one;
  }
  return nullptr;
}

}  // namespace ZtFoundation::detail
