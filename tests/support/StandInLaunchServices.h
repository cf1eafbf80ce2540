/// \file StandInLaunchServices.h
/// A registry and a workspace that answer as a test wants and note what they are asked.
#pragma once

#include <string>
#include <vector>

#include "platform/services/LaunchServices.h"
#include "platform/services/Service.h"
#include "platform/services/Workspace.h"

namespace ZtFoundation::test {

inline std::string textOf(const Ref<NSString>& text) { return text ? text->utf8() : "none"; }
inline std::string textOf(const Ref<NSURL>& url) { return url ? url->absoluteString()->utf8() : "none"; }

class StandInLaunchServices final : public LaunchServices {
 public:
  struct Search {
    OSType creator;
    std::string identifier;
    bool operator==(const Search&) const = default;
  };
  struct Question {
    std::string url;
    LSRequestedInfo wanted;
    bool operator==(const Question&) const = default;
  };

  OSStatus LSCopyItemInfoForURL(const Ref<NSURL>& url, LSRequestedInfo wanted, LSItemInfoRecord* info) override {
    questions.push_back({textOf(url), wanted});
    info->flags = flags;
    return status;
  }
  OSStatus LSCopyItemInfoForRef(const FSRef*, LSRequestedInfo, LSItemInfoRecord*) override { return paramErr; }
  OSStatus LSFindApplicationForInfo(OSType creator, const Ref<NSString>& identifier, Ref<NSURL>* application) override {
    searches.push_back({creator, textOf(identifier)});
    *application = found;
    return status;
  }

  OSStatus status = noErr;
  LSItemInfoFlags flags = 0;
  Ref<NSURL> found;
  std::vector<Search> searches;
  std::vector<Question> questions;

 private:
  ScopedService<LaunchServices> scope_{*this};
};

class StandInWorkspace final : public Workspace {
 public:
  bool launchApplication(const Ref<NSString>& path) override {
    calls.push_back("launch " + textOf(path));
    return answer;
  }
  bool openFile_withApplication_andDeactivate(const Ref<NSString>& file, const Ref<NSString>& application,
                                              bool deactivate) override {
    calls.push_back("open " + textOf(file) + " with " + textOf(application) + (deactivate ? ", giving way" : ""));
    return answer;
  }

  bool answer = true;
  std::vector<std::string> calls;

 private:
  ScopedService<Workspace> scope_{*this};
};

}  // namespace ZtFoundation::test
