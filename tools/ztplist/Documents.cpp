#include "Documents.h"

#include <ZtFoundation/platform/Dictionary.h>

#include <array>

#include "Failure.h"
#include "INILoss.h"
#include "KeyPath.h"
#include "Streams.h"

namespace ztplist {

using namespace ZtFoundation;

namespace {

struct NamedFormat {
  std::string_view name;
  Format format;
};

// The first name of a format is the one that is shown.
constexpr std::array<NamedFormat, 6> kFormats{{
    {"xml1", kXML},
    {"binary1", kBinary},
    {"openstep", kOpenStep},
    {"ini", kINI},
    {"xml", kXML},
    {"binary", kBinary},
}};

constexpr std::int32_t kMutableContainers = 1;

std::string reason(const Ref<NSString>& error, const char* otherwise) { return error ? error->utf8() : otherwise; }

bool looksLikeINI(std::string_view bytes) {
  const std::size_t first = bytes.find_first_not_of(" \t\r\n");
  return first != std::string_view::npos && (bytes[first] == '[' || bytes[first] == ';');
}

[[noreturn]] void failToParse(const std::string& name, const Ref<NSString>& error, std::string_view bytes) {
  std::string text = name + ": " + reason(error, "not a property list");
  if (looksLikeINI(bytes)) text += " (an INI file is read with --format ini)";
  throw Failure(Exit::Invalid, text);
}

// The INI reader takes whatever it is given, so what is no text at all is found out here.
void checkINIText(const Ref<NSData>& bytes, const std::string& name) {
  if (!NSString::stringWithData_encoding(bytes, NSUTF8StringEncoding)) {
    throw Failure(Exit::Invalid, name + ": not UTF-8 text");
  }
}

// Nothing is escaped in INI text, so that not all that the writer takes comes back.
void checkINIResult(const Ref<NSData>& bytes, const Ref<NSObject>& value, const std::string& name) {
  const auto lost = firstLostInINI(*as<NSDictionary>(value), *as<NSDictionary>(parse(bytes, kINI, name).root));
  if (lost)
    throw Failure(Exit::Invalid, name + ": cannot be written as INI, which has no form for " + keyPathText(*lost));
}

void checkFormat(Format wanted, Format found, const std::string& name) {
  if (wanted == kDetect || wanted == found) return;
  throw Failure(Exit::Invalid, name + ": is in the format " + std::string(nameOfFormat(found)) + ", not " +
                                   std::string(nameOfFormat(wanted)));
}

}  // namespace

std::string_view nameOfFormat(Format format) {
  for (const auto& known : kFormats) {
    if (known.format == format) return known.name;
  }
  return "unknown";
}

Format formatNamed(std::string_view name) {
  for (const auto& known : kFormats) {
    if (known.name == name) return known.format;
  }
  throw Failure(Exit::Usage,
                "no format is called '" + std::string(name) + "'; there are xml1, binary1, openstep and ini");
}

Format outputFormatNamed(std::string_view name) {
  const Format format = formatNamed(name);
  if (format == kOpenStep)
    throw Failure(Exit::Usage, "openstep is read, but never written; write xml1, binary1 or ini");
  return format;
}

Document load(const std::string& file, Format format) { return parse(readBytes(file), format, displayName(file)); }

Document parse(const Ref<NSData>& bytes, Format format, const std::string& name) {
  if (format == kINI) checkINIText(bytes, name);
  Ref<NSString> error;
  Format found = format;
  const Ref<NSObject> root = QvPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
      bytes, kMutableContainers, &found, &error);
  if (!root) failToParse(name, error, bytes->view());
  checkFormat(format, found, name);
  return {bytes, root, found};
}

Ref<NSData> encode(const Ref<NSObject>& value, Format format, const std::string& name) {
  Ref<NSString> error;
  const Ref<NSData> bytes =
      QvPropertyListSerialization::dataFromPropertyList_format_errorDescription(value, format, &error);
  if (bytes && format == kINI) checkINIResult(bytes, value, name);
  if (bytes) return bytes;
  const char* otherwise =
      format == kINI ? "ini holds sections of text, numbers, dates and data only" : "cannot be written";
  throw Failure(Exit::Invalid, name + ": " + reason(error, otherwise));
}

void checkTerminal(const Arguments& arguments, Format format) {
  if (format == kBinary && !arguments.force && writesToTerminal()) {
    throw Failure(Exit::Usage, "binary1 is not shown on a terminal; use -o FILE, a pipe, or -f");
  }
}

}  // namespace ztplist
