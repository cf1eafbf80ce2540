// A logging manager in a plug-in. It appends each message to a file as one line of JSON.
//
// It is configured by a property list:
//     { File = "/var/log/app.jsonl"; Level = 6; }
// Messages with a level above Level (7 when there is none) are dropped. When the configuration is watched, each message
// first looks whether the file has changed. A configuration that cannot be read changes nothing; one without File stops
// the logging.

#include <ZtFoundation/Logging.h>
#include <ZtFoundation/platform/FileManager.h>
#include <ZtFoundation/platform/PropertyListSerialization.h>
#include <ZtFoundation/platform/Values.h>

#include <sys/stat.h>

#include <array>
#include <cstdio>
#include <memory>
#include <mutex>
#include <optional>

#include "JSONLine.h"

using namespace ZtFoundation;

namespace {

struct Configuration {
  std::string file;
  std::int32_t level = ZtLogLevelDebug;
};

// Text formats other than XML know no numbers, so the level may also come as text.
std::optional<std::int32_t> levelIn(const Ref<NSDictionary>& values) {
  if (const auto number = values->get<std::int32_t>("Level")) return number;
  const Ref<NSString> text = values->get<NSString>("Level");
  return text ? std::optional(text->intValue()) : std::nullopt;
}

std::optional<Configuration> readConfiguration(const Ref<NSString>& path) {
  const Ref<NSData> bytes = NSFileManager::defaultManager()->contentsAtPath(path);
  const auto values =
      as<NSDictionary>(NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
          bytes, NSPropertyListImmutable, nullptr, nullptr));
  if (!values) return std::nullopt;
  Configuration configuration;
  configuration.file = values->get<std::string>("File").value_or("");
  configuration.level = levelIn(values).value_or(configuration.level);
  return configuration;
}

// Every line is one write to the end of the file, so that several processes can share it.
class LineFile {
 public:
  void open(const std::string& path) {
    if (path == path_ && file_) return;
    path_ = path;
    file_.reset(path.empty() ? nullptr : std::fopen(path.c_str(), "ae"));
    if (file_) std::setvbuf(file_.get(), nullptr, _IONBF, 0);
  }
  void write(const std::string& line) {
    if (file_) std::fwrite(line.data(), 1, line.size(), file_.get());
  }

 private:
  struct Close {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
  };

  std::string path_;
  std::unique_ptr<std::FILE, Close> file_;
};

// What tells one state of a file from the next: which file it is, its size, when it was written and when it was changed
// in any way. The last cannot be set back, unlike the time of writing.
using Stamp = std::array<std::int64_t, 6>;

std::optional<Stamp> stampOf(const Ref<NSString>& path) {
  struct stat file {};
  if (::stat(path->fileSystemRepresentation().c_str(), &file) != 0) return std::nullopt;
  return Stamp{static_cast<std::int64_t>(file.st_ino),
               file.st_size,
               file.st_mtim.tv_sec,
               file.st_mtim.tv_nsec,
               file.st_ctim.tv_sec,
               file.st_ctim.tv_nsec};
}

class JSONLinesManager : public ZtLoggingManager {
  ZT_OBJECT(JSONLinesManager, ZtLoggingManager)
 public:
  void configureWithPath_watch(const Ref<NSString>& path, bool watch) override {
    const std::lock_guard guard(lock_);
    path_ = path;
    watch_ = watch && path;
    reload();
  }

  void appendToLogger_level_format_arguments(const Ref<NSObject>& logger, std::int32_t level,
                                             const Ref<NSString>& format, FormatArguments arguments) override {
    // Descriptions may log themselves, so they are asked before the lock is taken.
    const std::string text = textOf(formatText(format, arguments));
    const std::string line = jsonLine(std::chrono::system_clock::now(), level, textOf(logger), text);
    const std::lock_guard guard(lock_);
    if (watch_ && stampOf(path_) != stamp_) reload();
    if (level >= 0 && level <= configuration_.level) file_.write(line);
  }

 private:
  static std::string textOf(const Ref<NSObject>& object) { return object ? object->description()->utf8() : "(null)"; }

  void reload() {
    stamp_ = path_ ? stampOf(path_) : std::nullopt;
    if (const auto configuration = readConfiguration(path_)) {
      configuration_ = *configuration;
      file_.open(configuration_.file);
    }
  }

  std::mutex lock_;
  Ref<NSString> path_;
  bool watch_ = false;
  std::optional<Stamp> stamp_;
  Configuration configuration_;
  LineFile file_;
};

ZT_REGISTER_CLASS(JSONLinesManager, ZT_METHOD("configureWithPath:watch:", &JSONLinesManager::configureWithPath_watch),
                  ZT_METHOD("appendToLogger:level:format:arguments:",
                            &JSONLinesManager::appendToLogger_level_format_arguments));

}  // namespace
