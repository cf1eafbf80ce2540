// Volumes by a mount table that a test has written.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "VolumesHere.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {

/// A line of the table. Identifiers are counted from 1 on where a test does not care, and everything lies on the first
/// line.
struct Line {
  int id = 0;
  int parent = 1;
  std::string device = "0:77";
  std::string root = "/";
  std::string point = "/";
  std::string type = "ext4";
  std::string source = "none";
  std::string options = "rw";
  std::string mountOptions = "rw,relatime";
};

class StandInTable {
 public:
  void set(const std::vector<Line>& lines) {
    std::string text;
    for (std::size_t at = 0; at < lines.size(); ++at) add(lines[at], static_cast<int>(at), text);
    setText(text);
  }

  /// As a new file: the kernel's own tells of changes, a file on a disk does not.
  void setText(const std::string& text) {
    test::writeFile(folder_ / "new", text);
    std::filesystem::rename(folder_ / "new", folder_ / "mountinfo");
    if (volumes_ == nullptr) volumes_ = std::make_unique<VolumesHere>(sources());
  }

  const VolumesHere* operator->() const { return volumes_.get(); }
  Volumes& volumes() const { return *volumes_->operator->(); }
  const test::ScratchFolder& folder() const { return folder_; }
  /// For what another user's process does with the folder and the table.
  void openToAll() const {
    std::filesystem::permissions(folder_.path(), std::filesystem::perms::all);
    std::filesystem::permissions(folder_ / "mountinfo", std::filesystem::perms::all);
  }
  VolumeSources sources() const { return {folder_ / "mountinfo", folder_ / "devices", folder_ / "labels"}; }

 private:
  static void add(const Line& line, int at, std::string& text) {
    text.append(std::to_string(line.id != 0 ? line.id : at + 1)).append(" ");
    text.append(std::to_string(at == 0 ? 0 : line.parent)).append(" ").append(line.device).append(" ");
    text.append(line.root).append(" ").append(line.point).append(" ").append(line.mountOptions);
    text.append(" shared:1 - ").append(line.type).append(" ").append(line.source).append(" ").append(line.options);
    text.append("\n");
  }

  test::ScratchFolder folder_;
  std::unique_ptr<VolumesHere> volumes_;
};

}  // namespace ZtFoundation::test
