#include <ZtFoundation/platform/String.h>

#include "Commands.h"
#include "EditLock.h"
#include "INIText.h"
#include "KeyPath.h"
#include "Streams.h"
#include "ValueText.h"

namespace ztplist {

using namespace ZtFoundation;

namespace {

struct Edit {
  KeyPath path;
  Ref<NSObject> value;  // none: take it out
};

Format formatToWrite(const Arguments& arguments, const Document& document) {
  if (arguments.to != kDetect) return arguments.to;
  if (document.format == kOpenStep) throw Failure(Exit::Usage, "openstep is never written; say --to FORMAT");
  return document.format;
}

std::string destinationOf(const Arguments& arguments, const std::string& file) {
  return arguments.output.empty() ? file : arguments.output;
}

std::string editedINI(const Document& document, const Edit& edit) {
  const std::string_view text = document.bytes->view();
  const std::string section = edit.path.front()->utf8();
  if (edit.path.size() == 1) return removeINISection(text, section);
  const std::string key = edit.path[1]->utf8();
  return edit.value ? setINIEntry(text, section, key, as<NSString>(edit.value)->utf8())
                    : removeINIEntry(text, section, key);
}

bool fitsINI(const Edit& edit) {
  if (!edit.value) return edit.path.size() <= 2;
  return edit.path.size() == 2 && as<NSString>(edit.value);
}

// An INI file is edited as text, so that comments and everything else in it stay. Reading the result tells whether it
// holds the value, since not every text can stand there.
Ref<NSData> encodeINIEdit(const Document& document, const Edit& edit, const std::string& name) {
  if (!fitsINI(edit)) throw Failure(Exit::Invalid, name + ": an ini file holds strings, at SECTION.KEY");
  const Ref<NSData> bytes = NSData::dataWithString(editedINI(document, edit));
  if (isEqual(parse(bytes, kINI, name).root, document.root)) return bytes;
  throw Failure(Exit::Invalid, name + ": an ini file cannot hold that at " + keyPathText(edit.path));
}

// `document.root` is the edited value, `document.bytes` the file as it was.
void writeEdited(const Arguments& arguments, Output& output, const std::string& file, const Document& document,
                 const Edit& edit) {
  const std::string name = displayName(file);
  const Format format = formatToWrite(arguments, document);
  const bool editsText = format == kINI && document.format == kINI;
  const auto bytes = editsText ? encodeINIEdit(document, edit, name) : encode(document.root, format, name);
  writeResult(arguments, output, destinationOf(arguments, file), format, bytes);
}

}  // namespace

Exit runSet(const Arguments& arguments, Output& output) {
  const Edit edit{parseKeyPath(arguments.operands[0]), valueFromText(arguments.operands[1], arguments.operands[2])};
  const std::string file = arguments.file(3);
  const EditLock lock(file, destinationOf(arguments, file));
  Document document = load(file, arguments.format);
  document.root = setValue(document.root, edit.path, edit.value);
  writeEdited(arguments, output, file, document, edit);
  return Exit::Success;
}

Exit runDelete(const Arguments& arguments, Output& output) {
  const Edit edit{parseKeyPath(arguments.operands[0]), nullptr};
  if (edit.path.empty()) throw Failure(Exit::Usage, "delete: the root cannot be deleted");
  const std::string file = arguments.file(1);
  const EditLock lock(file, destinationOf(arguments, file));
  const Document document = load(file, arguments.format);
  if (!removeValue(document.root, edit.path)) {
    throw Failure(Exit::No, displayName(file) + ": nothing at " + firstMissing(document.root, edit.path));
  }
  writeEdited(arguments, output, file, document, edit);
  return Exit::Success;
}

}  // namespace ztplist
