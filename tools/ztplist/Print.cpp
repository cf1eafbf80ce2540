#include "Commands.h"
#include "Display.h"
#include "Streams.h"

namespace ztplist {

Exit runPrint(const Arguments& arguments, Output& output) {
  return forEachFile(arguments, [&](const std::string& file) {
    const Document document = load(file, arguments.format);
    if (arguments.operands.size() > 1)
      output << visible(displayName(file)) << " (" << nameOfFormat(document.format) << "):\n";
    printTree(output, "", "", *document.root);
    return Exit::Success;
  });
}

}  // namespace ztplist
