#include "platform/linux/files/FileErrors.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <utility>

namespace ZtFoundation::test {
namespace {

TEST(FileErrorsTests, EachErrorOfTheSystemHasItsNumber) {
  constexpr std::pair<int, int> table[] = {
      {0, 0},          {ENOSPC, -34},  {EDQUOT, -34},    {EFBIG, -34},   {ENODEV, -35},       {ENXIO, -35},
      {EIO, -36},      {ENOTSUP, -36}, {ESTALE, -36},    {EINTR, -36},   {ENAMETOOLONG, -37}, {EILSEQ, -37},
      {EMFILE, -42},   {ENFILE, -42},  {ENOENT, -43},    {ENOTDIR, -43}, {ELOOP, -43},        {EROFS, -46},
      {EBUSY, -47},    {ETXTBSY, -47}, {ENOTEMPTY, -47}, {EEXIST, -48},  {EINVAL, -50},       {EBADF, -50},
      {EFAULT, -50},   {EPERM, -54},   {ENOMEM, -108},   {EXDEV, -1303}, {ECANCELED, -128},   {EISDIR, -1407},
      {EACCES, -5000},
  };
  for (const auto& [error, number] : table) EXPECT_EQ(detail::fileError(error), number) << error;
}

}  // namespace
}  // namespace ZtFoundation::test
