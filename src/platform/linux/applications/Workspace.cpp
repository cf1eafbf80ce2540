// Applications as the desktop starts them: bundles by their executable, desktop entries by their command line.

#include "platform/services/Workspace.h"

#include <unistd.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/linux/applications/CommandLine.h"
#include "platform/linux/applications/ItemInformation.h"
#include "platform/linux/applications/Terminal.h"
#include "platform/linux/files/FileDescriptor.h"
#include "platform/linux/files/ItemPath.h"
#include "platform/linux/process/ChildProcesses.h"
#include "platform/linux/process/ProcessStart.h"

namespace ZtFoundation {

namespace {

using Arguments = std::vector<std::string>;

struct Launch {
  std::string program;
  Arguments arguments;
  std::string workingFolder;  // empty for that of this process
};

std::optional<Launch> launchOfBundle(const std::string& path, const std::string& document) {
  const std::string program = detail::bundleProgram(path);
  if (program.empty()) return std::nullopt;
  Launch launch{program, {program}, {}};
  if (!document.empty()) launch.arguments.push_back(document);
  return launch;
}

std::optional<Launch> launchOfEntry(const std::string& path, const std::string& document) {
  const std::optional<DesktopEntry> entry = detail::applicationEntry(path);
  std::optional<Arguments> arguments = entry ? detail::argumentsOfEntry(*entry, path, document) : std::nullopt;
  if (arguments && entry->inTerminal) arguments = detail::argumentsInTerminal(*arguments);
  if (!arguments) return std::nullopt;
  const std::optional<std::string> program = detail::absolutePath(detail::programNamed(arguments->front()));
  if (!program) return std::nullopt;
  return Launch{*program, *std::move(arguments), entry->workingFolder};
}

// With an absolute path, as the program may have another working folder.
std::optional<std::string> absolutePath(const Ref<NSString>& path) {
  const std::optional<std::string> bytes = detail::systemPath(path);
  return bytes ? detail::absolutePath(*bytes) : std::nullopt;
}

// Forgotten at once: where orphans are given to this process, the next start collects those that have ended.
bool start(const Launch& launch) {
  detail::WatchedProcess forgotten;
  detail::StartedProcess process = detail::startProcess(launch.program, launch.arguments, {launch.workingFolder, true});
  if (process.error != 0) return false;
  forgotten.watch(process.id, std::move(process.handle));
  return true;
}

bool launch(const Ref<NSString>& application, const std::string& document) {
  const std::optional<std::string> given = absolutePath(application);
  if (!given) return false;
  const std::string path = detail::tellingPath(*given);
  const auto launch =
      detail::isApplicationBundle(path) ? launchOfBundle(path, document) : launchOfEntry(path, document);
  return launch && start(*launch);
}

bool exists(const std::string& path) { return ::access(path.c_str(), F_OK) == 0; }

class LinuxWorkspace final : public Workspace {
 public:
  bool launchApplication(const Ref<NSString>& path) override { return launch(path, {}); }

  // Which window is in front is for the window manager to decide, so `deactivate` has no effect.
  bool openFile_withApplication_andDeactivate(const Ref<NSString>& file, const Ref<NSString>& application,
                                              bool) override {
    const std::optional<std::string> document = absolutePath(file);
    return document && exists(*document) && launch(application, *document);
  }
};

}  // namespace

Workspace& Workspace::production() {
  static Workspace& workspace = *new LinuxWorkspace;
  return workspace;
}

}  // namespace ZtFoundation
