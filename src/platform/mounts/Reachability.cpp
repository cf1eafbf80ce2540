#include <cstdint>
#include <string_view>
#include <unordered_map>

#include "platform/mounts/MountTable.h"

namespace ZtFoundation::mounts {

namespace {

class Reachability {
 public:
  explicit Reachability(const std::vector<Mount>& mounts) : mounts_(mounts), states_(mounts.size()) {
    for (std::size_t at = 0; at < mounts.size(); ++at) places_.emplace(mounts[at].id, at);
    for (std::size_t at = 0; at < mounts.size(); ++at) covers_[parentOf(at)][mounts[at].point] = at;
  }

  bool isReachable(std::size_t at) { return canBePassed(at) && coverAt(at, mounts_[at].point) == kNone; }

 private:
  static constexpr std::size_t kNone = SIZE_MAX;
  enum class State : unsigned char { Unknown, InQuestion, Hidden, Passed };

  // A path to the mount point gets there, whatever may then be mounted over it.
  bool canBePassed(std::size_t at) {
    if (states_[at] == State::Unknown) {
      states_[at] = State::InQuestion;  // the answer to a mount that lies on itself
      states_[at] = findPassed(at) ? State::Passed : State::Hidden;
    }
    return states_[at] == State::Passed;
  }

  bool findPassed(std::size_t at) {
    const std::size_t parent = parentOf(at);
    const std::string_view point = mounts_[at].point;
    if (coverAt(parent, point) != at) return false;
    for (std::string_view above = folderOf(point); !above.empty(); above = folderOf(above)) {
      if (coverAt(parent, above) != kNone) return false;
    }
    return parent == kNone || canBePassed(parent);
  }

  // Mounts on a mount that the table does not have, as the root's, count as mounts on nothing.
  std::size_t parentOf(std::size_t at) const {
    const auto found = places_.find(mounts_[at].parent);
    return found != places_.end() && found->second != at ? found->second : kNone;
  }

  std::size_t coverAt(std::size_t parent, std::string_view point) const {
    const auto children = covers_.find(parent);
    if (children == covers_.end()) return kNone;
    const auto child = children->second.find(point);
    return child != children->second.end() ? child->second : kNone;
  }

  // Empty above the root.
  static std::string_view folderOf(std::string_view path) {
    if (path.size() <= 1) return {};
    const std::size_t slash = path.rfind('/');
    return path.substr(0, slash == 0 ? 1 : slash == std::string_view::npos ? 0 : slash);
  }

  const std::vector<Mount>& mounts_;
  std::vector<State> states_;
  std::unordered_map<int, std::size_t> places_;                                                // by identifier
  std::unordered_map<std::size_t, std::unordered_map<std::string_view, std::size_t>> covers_;  // by what they lie on
};

}  // namespace

std::vector<bool> reachable(const std::vector<Mount>& mounts) {
  Reachability reachability(mounts);
  std::vector<bool> answers(mounts.size());
  for (std::size_t at = 0; at < mounts.size(); ++at) answers[at] = reachability.isReachable(at);
  return answers;
}

}  // namespace ZtFoundation::mounts
