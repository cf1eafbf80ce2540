#include "platform/mounts/MountTable.h"

#include <libmount/libmount.h>
#include <stdio.h>

#include <cerrno>
#include <memory>

#include "platform/mounts/FileSystemType.h"
#include "platform/mounts/Owned.h"

namespace ZtFoundation::mounts {

namespace {

using Table = std::unique_ptr<libmnt_table, decltype(&mnt_unref_table)>;
using Stream = std::unique_ptr<FILE, decltype(&fclose)>;
using Iterator = std::unique_ptr<libmnt_iter, decltype(&mnt_free_iter)>;

int goOnBehindBadLine(libmnt_table*, const char*, int) { return errno == ENOMEM ? -ENOMEM : 1; }

Table tableOf(const std::string& text) {
  Table table(made(mnt_new_table()), mnt_unref_table);
  const Stream stream(made(fmemopen(const_cast<char*>(text.data()), text.size(), "r")), fclose);
  mnt_table_set_parser_errcb(table.get(), goOnBehindBadLine);
  errno = 0;  // for want of memory a line may look like the end
  // A name for messages, which is absolute so that the current folder is not asked for.
  mnt_table_parse_stream(table.get(), stream.get(), "/proc/self/mountinfo");
  if (errno == ENOMEM) throw std::bad_alloc();
  return table;
}

std::string text(const char* text) { return text != nullptr ? text : std::string(); }

bool hasOption(const char* options, const char* name) {
  char* value = nullptr;
  size_t size = 0;
  return options != nullptr && mnt_optstr_get_option(options, name, &value, &size) == 0;
}

Mount mountOf(libmnt_fs* fs) {
  Mount mount;
  mount.id = mnt_fs_get_id(fs);
  mount.parent = mnt_fs_get_parent_id(fs);
  mount.device = mnt_fs_get_devno(fs);
  mount.root = text(mnt_fs_get_root(fs));
  mount.point = text(mnt_fs_get_target(fs));
  mount.type = text(mnt_fs_get_fstype(fs));
  mount.source = text(mnt_fs_get_source(fs));
  mount.server = serverKind(mount.type, mount.source, text(mnt_fs_get_fs_options(fs)));
  mount.storesFiles = storesFiles(mount.type.c_str());
  mount.isReadOnly = hasOption(mnt_fs_get_vfs_options(fs), "ro") || hasOption(mnt_fs_get_fs_options(fs), "ro");
  return mount;
}

}  // namespace

std::vector<Mount> parseMounts(const std::string& text) {
  const Table table = tableOf(text);
  const Iterator iterator(made(mnt_new_iter(MNT_ITER_FORWARD)), mnt_free_iter);
  std::vector<Mount> mounts;
  libmnt_fs* fs = nullptr;
  while (mnt_table_next_fs(table.get(), iterator.get(), &fs) == 0) mounts.push_back(mountOf(fs));
  return mounts;
}

}  // namespace ZtFoundation::mounts
