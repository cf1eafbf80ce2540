/// \file FileOperationObserver.h
/// Who watches a copy or a removal.
#pragma once

#include <cstdint>
#include <string>

namespace ZtFoundation::detail {

class FileOperationObserver {
 public:
  virtual ~FileOperationObserver() = default;

  /// Whether anybody wants to be told this. The path costs as much as it is long.
  virtual bool wantsPaths() const = 0;
  virtual void willProcess(const std::string& path) = 0;
  /// Whether to leave the item out and go on with the next. `toPath` is empty for a removal.
  virtual bool proceedsAfter(int error, const std::string& path, const std::string& toPath) = 0;

  /// Whether anybody wants to be asked this. The total costs a walk of its own.
  virtual bool wantsBytes() const = 0;
  /// Whether to go on, asked after each item and every few megabytes.
  virtual bool continuesAfterBytes(std::uint64_t done, std::uint64_t total, const std::string& path) = 0;
  /// Whether anybody wants to be asked this.
  virtual bool wantsItems() const = 0;
  /// Whether to go on, asked after each item of a removal.
  virtual bool continuesAfterItems(std::uint64_t done, const std::string& path) = 0;
};

}  // namespace ZtFoundation::detail
