// Copies a file or folder with a bar that shows how far it is: copy-folder FROM TO
// Ctrl-C ends the copy; nothing of it stays then.
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/FileManager.h>
#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/String.h>

#include <chrono>
#include <csignal>
#include <iomanip>
#include <iostream>
#include <string>

using namespace ZtFoundation;

namespace {

volatile std::sig_atomic_t isInterrupted = 0;

void noteInterrupt(int) { isInterrupted = 1; }

}  // namespace

/// What the file manager tells while it copies. It responds only to the messages that it lists.
class ProgressBar : public NSObject {
  ZT_OBJECT(ProgressBar, NSObject)
 public:
  bool shouldContinue(const Ref<NSFileManager>&, std::uint64_t done, std::uint64_t total, const Ref<NSString>& path) {
    const auto now = std::chrono::steady_clock::now();
    if (done == total || now - drawn_ > std::chrono::milliseconds(50)) {
      draw(done, total, path->lastPathComponent()->utf8());
      drawn_ = now;
    }
    return isInterrupted == 0;
  }

  bool shouldProceed(const Ref<NSFileManager>&, const Ref<NSDictionary>& error) {
    std::cerr << "\n" << error->objectForKey("Path") << ": " << error->objectForKey("Error") << "\n";
    return false;
  }

 private:
  static void draw(std::uint64_t done, std::uint64_t total, const std::string& name) {
    constexpr int kWidth = 40;
    const double part = total == 0 ? 1 : static_cast<double>(done) / static_cast<double>(total);
    const auto filled = static_cast<std::size_t>(part * kWidth);
    std::cout << "\r[" << std::string(filled, '#') << std::string(kWidth - filled, ' ') << "] " << std::setw(3)
              << static_cast<int>(part * 100) << " %  " << name << "\x1b[K" << std::flush;
  }

  std::chrono::steady_clock::time_point drawn_;
};

ZT_REGISTER_CLASS(ProgressBar,
                  ZT_METHOD("fileManager:shouldContinueAfterCopyingBytes:ofTotal:atPath:",
                            &ProgressBar::shouldContinue),
                  ZT_METHOD("fileManager:shouldProceedAfterError:", &ProgressBar::shouldProceed));

int main(int count, char** arguments) {
  if (count != 3) {
    std::cerr << "usage: copy-folder FROM TO\n";
    return 2;
  }
  std::signal(SIGINT, noteInterrupt);
  const bool isCopied = NSFileManager::defaultManager()->copyPath_toPath_handler(
      NSString::stringWithFileSystemRepresentation(arguments[1]),
      NSString::stringWithFileSystemRepresentation(arguments[2]), make<ProgressBar>());
  std::cout << (isCopied             ? "\ncopied\n"
                : isInterrupted != 0 ? "\ncancelled, nothing is left of the copy\n"
                                     : "\nnot copied\n");
  return isCopied ? 0 : 1;
}
