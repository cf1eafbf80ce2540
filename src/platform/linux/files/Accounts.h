/// \file Accounts.h
/// The system's records of users and groups.
#pragma once

#include <cerrno>
#include <cstddef>
#include <new>
#include <vector>

namespace ZtFoundation::detail {

/// Asks `lookup`, one of `getpwnam_r` and its kin, for the record of `key`; calls `use` with it unless there is none.
/// Answers the system's error, which some systems also tell when there is none. The size that a record needs is told
/// nowhere.
template <class Record, class Key, class Use>
int withAccount(int (*lookup)(Key, Record*, char*, std::size_t, Record**), Key key, Use use) {
  Record record{};
  Record* found = nullptr;
  std::vector<char> buffer(1024);
  for (;;) {
    const int error = lookup(key, &record, buffer.data(), buffer.size(), &found);
    if (error == ENOMEM) throw std::bad_alloc();
    if (error == ERANGE) buffer.resize(buffer.size() * 2);
    if (error == ERANGE || error == EINTR) continue;
    if (found != nullptr) use(*found);
    return error;
  }
}

}  // namespace ZtFoundation::detail
