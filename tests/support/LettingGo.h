/// \file LettingGo.h
/// Objects whose owner lets go of them all while one of them is asked something.
#pragma once

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Set.h>

#include <algorithm>

namespace ZtFoundation::test {

struct Holder {
  Ref<NSArray> objects;
  Ref<NSSet> members;
  int alive = 0;
  int fewestAlive = 0;
};

/// What such an object has in itself.
class HeldBy {
 public:
  explicit HeldBy(Holder& owner) : owner_(owner) { owner.fewestAlive = ++owner.alive; }
  HeldBy(const HeldBy&) = delete;
  HeldBy& operator=(const HeldBy&) = delete;
  ~HeldBy() { --owner_.alive; }

  void leave() const {
    Holder& owner = owner_;
    owner.objects = nullptr;
    owner.members = nullptr;
    owner.fewestAlive = std::min(owner.fewestAlive, owner.alive);
  }

 private:
  Holder& owner_;
};

}  // namespace ZtFoundation::test
