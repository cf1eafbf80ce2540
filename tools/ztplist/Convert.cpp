#include <ZtFoundation/platform/PropertyListCopy.h>

#include "Commands.h"
#include "EditLock.h"
#include "Streams.h"

namespace ztplist {

namespace {

Arguments takeFormat(Arguments arguments) {
  arguments.to = outputFormatNamed(arguments.operands.front());
  arguments.operands.erase(arguments.operands.begin());
  return arguments;
}

void checkDestinations(const Arguments& arguments) {
  if (arguments.inPlace && !arguments.output.empty())
    throw Failure(Exit::Usage, "convert: -i and -o exclude each other");
  if (!arguments.inPlace && arguments.operands.size() > 1) throw Failure(Exit::Usage, "convert: several files need -i");
  if (arguments.inPlace && std::ranges::count(arguments.operands, kStandardStream) > 0) {
    throw Failure(Exit::Usage, "convert: standard input has no place to write back to");
  }
  if (arguments.inPlace && arguments.operands.empty()) throw Failure(Exit::Usage, "convert: -i needs a file");
}

std::string destinationOf(const Arguments& arguments, const std::string& file) {
  if (!arguments.output.empty()) return arguments.output;
  return arguments.inPlace ? file : std::string(kStandardStream);
}

}  // namespace

void writeResult(const Arguments& arguments, Output& output, const std::string& destination, Format format,
                 const ZtFoundation::Ref<ZtFoundation::NSData>& bytes) {
  if (destination != kStandardStream) return saveBytes(destination, bytes);
  checkTerminal(arguments, format);
  output << bytes->view();
}

Exit runConvert(const Arguments& given, Output& output) {
  const Arguments arguments = takeFormat(given);
  checkDestinations(arguments);
  return forEachFile(arguments, [&](const std::string& file) {
    const std::string destination = destinationOf(arguments, file);
    const EditLock lock(file, destination);
    const Document document = load(file, arguments.format);
    const auto root = arguments.sortKeys ? ZtFoundation::propertyListWithSortedKeys(document.root) : document.root;
    const auto bytes = encode(root, arguments.to, displayName(file));
    writeResult(arguments, output, destination, arguments.to, bytes);
    return Exit::Success;
  });
}

}  // namespace ztplist
