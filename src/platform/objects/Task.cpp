#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/Format.h>
#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/Task.h>

#include "platform/services/ChildProcesses.h"

namespace ZtFoundation {

ZT_IMPLEMENT_CLASS(NSTask, ZT_METHOD("isRunning", &NSTask::isRunning),
                   ZT_METHOD("waitUntilExit", &NSTask::waitUntilExit),
                   ZT_METHOD("processIdentifier", &NSTask::processIdentifier),
                   ZT_CLASS_METHOD("launchedTaskWithLaunchPath:arguments:",
                                   &NSTask::launchedTaskWithLaunchPath_arguments));

namespace {

[[noreturn]] void raise(const Ref<NSString>& reason) { throw NSException(NSInvalidArgumentException(), reason); }

// As the program gets it.
std::string bytesOf(const Ref<NSObject>& text) {
  const Ref<NSString> string = as<NSString>(text);
  if (!string) raise("a launch path or an argument is no string");
  std::string bytes = string->fileSystemRepresentation();
  if (bytes.find('\0') != std::string::npos) raise("a launch path or an argument holds U+0000");
  return bytes;
}

std::vector<std::string> bytesOfAll(const Ref<NSArray>& arguments) {
  std::vector<std::string> all;
  if (!arguments) return all;
  for (const Ref<NSObject>& each : *arguments) all.push_back(bytesOf(each));
  return all;
}

}  // namespace

NSTask::NSTask() noexcept = default;
NSTask::~NSTask() = default;

Ref<NSTask> NSTask::launchedTaskWithLaunchPath_arguments(const Ref<NSString>& path, const Ref<NSArray>& arguments) {
  std::string failure;
  Ref<NSTask> task = Ref<NSTask>::adopt(new NSTask);  // now, as nothing may fail once the program runs
  task->process_ = service<ChildProcesses>().start(bytesOf(path), bytesOfAll(arguments), &failure);
  if (!task->process_) raise(NSString::stringWithFormat("cannot launch %@: %s", path, failure));
  return task;
}

bool NSTask::isRunning() { return process_->isRunning(); }
void NSTask::waitUntilExit() { process_->waitUntilExit(); }
std::int32_t NSTask::processIdentifier() const { return process_->identifier(); }

}  // namespace ZtFoundation
