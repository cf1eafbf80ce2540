/// \file Commands.h
/// The commands, one source each. Each reads its operands, writes its result to `output` and throws Failure otherwise.
#pragma once

#include <algorithm>
#include <exception>

#include "Arguments.h"
#include "Documents.h"
#include "Streams.h"

namespace ztplist {

Exit runPrint(const Arguments& arguments, Output& output);
Exit runLint(const Arguments& arguments, Output& output);
Exit runConvert(const Arguments& arguments, Output& output);
Exit runGet(const Arguments& arguments, Output& output);
Exit runSet(const Arguments& arguments, Output& output);
Exit runDelete(const Arguments& arguments, Output& output);
Exit runDiff(const Arguments& arguments, Output& output);

/// Writes a property list to `destination`, a file or "-".
void writeResult(const Arguments& arguments, Output& output, const std::string& destination, Format format,
                 const ZtFoundation::Ref<ZtFoundation::NSData>& bytes);

/// Runs `operation` for each operand, or once for "-". A failure of one, even to fit into memory, is reported and does
/// not keep others from running; the highest exit code is the answer.
template <class Operation>
Exit forEachFile(const Arguments& arguments, Operation operation) {
  Exit worst = Exit::Success;
  const std::size_t count = arguments.operands.empty() ? 1 : arguments.operands.size();
  for (std::size_t index = 0; index < count; ++index) {
    try {
      worst = std::max(worst, operation(arguments.file(index)));
    } catch (const OutputFailure&) {
      throw;  // It will be met for every other file too.
    } catch (const std::exception&) {
      worst = std::max(worst, complainAboutException(displayName(arguments.file(index)) + ": "));
    }
  }
  return worst;
}

}  // namespace ztplist
