#include <ZtFoundation/platform/Data.h>

#include "Commands.h"
#include "Display.h"
#include "KeyPath.h"
#include "Streams.h"

namespace ztplist {

using namespace ZtFoundation;

namespace {

bool isContainer(const NSObject& value) {
  return value.kind() == ObjectKind::Dictionary || value.kind() == ObjectKind::Array;
}

std::string rawBytes(const NSObject& value, const std::string& place) {
  if (isContainer(value)) {
    throw Failure(Exit::No, place + ": a " + std::string(typeName(value)) + " has no raw form; use --to");
  }
  if (const auto* data = as<NSData>(&value)) return std::string(data->view());
  const auto* text = as<NSString>(&value);
  if (text == nullptr) return plainText(value);
  const auto bytes = text->strictUTF8();
  if (!bytes) throw Failure(Exit::Invalid, place + ": the text has half a surrogate pair, which UTF-8 cannot hold");
  return *bytes;
}

void writeValue(const Arguments& arguments, Output& output, const NSObject& value, const std::string& place) {
  if (arguments.raw) {
    output << rawBytes(value, place);
  } else if (arguments.typed || isContainer(value)) {
    printTree(output, "", "", value);
  } else {
    output << (writesToTerminal() ? visible(plainText(value), "\n\t") : plainText(value)) << '\n';
  }
}

}  // namespace

Exit runGet(const Arguments& arguments, Output& output) {
  const KeyPath path = parseKeyPath(arguments.operands.front());
  const std::string file = arguments.file(1);
  const Document document = load(file, arguments.format);
  const Ref<NSObject> value = findValue(document.root, path);
  if (!value) throw Failure(Exit::No, displayName(file) + ": nothing at " + firstMissing(document.root, path));
  const std::string place = displayName(file) + ": " + keyPathText(path);
  if (arguments.to == kDetect) {
    writeValue(arguments, output, *value, place);
  } else {
    writeResult(arguments, output, std::string(kStandardStream), arguments.to, encode(value, arguments.to, place));
  }
  return Exit::Success;
}

}  // namespace ztplist
