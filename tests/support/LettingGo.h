/// \file LettingGo.h
/// Objects whose owner lets go of them all while one of them is asked something.
#pragma once

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Set.h>

#include <algorithm>

namespace ZtFoundation::test {

struct Owner {
  Ref<NSArray> objects;
  Ref<NSSet> members;
  int alive = 0;
  int fewestAlive = 0;
};

/// What such an object has in itself.
class OwnedBy {
 public:
  explicit OwnedBy(Owner& owner) : owner_(owner) { owner.fewestAlive = ++owner.alive; }
  OwnedBy(const OwnedBy&) = delete;
  OwnedBy& operator=(const OwnedBy&) = delete;
  ~OwnedBy() { --owner_.alive; }

  void leave() const {
    Owner& owner = owner_;
    owner.objects = nullptr;
    owner.members = nullptr;
    owner.fewestAlive = std::min(owner.fewestAlive, owner.alive);
  }

 private:
  Owner& owner_;
};

}  // namespace ZtFoundation::test
