#include "Commands.h"
#include "INIText.h"
#include "Streams.h"

namespace ztplist {

namespace {

Document loadForLint(const std::string& file, Format format) {
  try {
    return load(file, format);
  } catch (const Failure& failure) {
    // That a file is not sound is an answer here, not a trouble.
    if (failure.code() == Exit::Invalid) throw Failure(Exit::No, failure.what());
    throw;
  }
}

Exit reportINIFaults(const Document& document, const std::string& name) {
  Exit result = Exit::Success;
  findINIFaults(document.bytes->view(), [&](const std::string& fault) {
    tell(name + ": " + fault);
    result = Exit::No;
  });
  return result;
}

}  // namespace

Exit runLint(const Arguments& arguments, Output& output) {
  return forEachFile(arguments, [&](const std::string& file) {
    const std::string name = displayName(file);
    const Document document = loadForLint(file, arguments.format);
    const Exit result = document.format == kINI ? reportINIFaults(document, name) : Exit::Success;
    if (result == Exit::Success && !arguments.quiet)
      output << visible(name) << ": sound, " << nameOfFormat(document.format) << '\n';
    return result;
  });
}

}  // namespace ztplist
