// Kinds of file systems, by what stands in the mount table.

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "StandInTable.h"

namespace ZtFoundation::test {
namespace {

struct Kind {
  const char* type;
  const char* source;
  const char* options;
  const char* media;
};

class FileSystemTypeTests : public ::testing::Test {
 protected:
  StandInTable table_;
};

TEST_F(FileSystemTypeTests, ServersAndTheirKinds) {
  const Kind kinds[] = {
      {"nfs", "server:/export", "rw,vers=3", "nfs "},
      {"nfs4", "server:/export", "rw,vers=4.2", "nfs "},
      {"cifs", "//server/share", "rw", "smb "},
      {"smb3", "//server/share", "rw", "smb "},
      {"fuse.smbnetfs", "smbnetfs", "rw", "smb "},
      {"afpfs", "server", "rw", "afpm"},
      {"fuse.afpfs", "afp_volume", "rw", "afpm"},
      {"fuse", "afp://server/volume", "rw", "afpm"},
      {"davfs", "https://server/", "rw", "http"},
      {"fuse", "http://127.0.0.1:8083/", "rw,user_id=0", "http"},
      {"fuse", "HTTPS://server/a%20b", "rw", "http"},
      {"fuse", "davs://server/", "rw", "http"},
      {"fuse.davfs2", "server", "rw", "http"},
      {"fuse.wdfs", "wdfs", "rw", "http"},
      {"fuse.sshfs", "me@server:/home", "rw", "ssh "},
      {"fuse", "sftp://server/", "rw", "ssh "},
      {"fuse.curlftpfs", "curlftpfs#ftp://server/", "rw", "ftp "},
      {"fuse", "ftp://server/", "rw", "ftp "},
      {"fuse", "gopher://server/", "rw", "goph"},
      {"fuse.new", "s3://bucket/", "rw", "s3  "},
      {"fuse", "w+x://server/", "rw", "w+x "},
      {"fuse", "w-x://server/", "rw", "w-x "},
      {"fuse", "w.x9://server/", "rw", "w.x9"},
      {"fuse.rclone", "remote:", "rw", "rclo"},
      {"fuse.gvfsd-fuse", "gvfsd-fuse", "rw", "gvfs"},
      {"ceph", "10.0.0.1:6789:/", "rw", "ceph"},
      {"9p", "server", "rw,trans=tcp,port=564", "9p  "},
      {"9p", "server", "rw,trans=rdma", "9p  "},
      {"9p", "hostshare", "rw,access=client,trans=virtio", ""},
      {"virtiofs", "share", "rw", ""},
      {"vboxsf", "share", "rw", ""},
      {"fuse", "/dev/fuse", "rw", ""},
      {"fuse", "file:///image", "rw", ""},
      {"fuse", "://x", "rw", ""},
      {"fuse", "two\\040words://x", "rw", ""},
      {"fuse", "a_b://x", "rw", ""},
      {"fuse", "a~b://x", "rw", ""},
      {"fuse.bindfs", "/home", "rw", ""},
      {"fuseblk", "/dev/sdb1", "rw", ""},
      {"ext4", "http://server/", "rw", ""},
      {"tmpfs", "nfs", "rw", ""},
  };
  for (const Kind& kind : kinds) {
    table_.set({{.type = "ext4"}, {.point = "/v", .type = kind.type, .source = kind.source, .options = kind.options}});
    ASSERT_TRUE(table_->has("/v")) << kind.type;
    EXPECT_EQ(table_->media("/v"), kind.media) << kind.type << " " << kind.source;
    EXPECT_EQ(table_->isServed("/v"), *kind.media != '\0') << kind.type << " " << kind.source;
  }
}

// Which may wait for them; so the references to their roots do not tell one item from another.
TEST_F(FileSystemTypeTests, NeitherServersNorProgramsAreAskedAboutTheRoot) {
  const std::pair<std::string, bool> types[] = {{"nfs", false},         {"cifs", false}, {"fuse.sshfs", false},
                                                {"fuse.bindfs", false}, {"fuse", false}, {"fuseblk", false},
                                                {"ext4", true}};
  for (const auto& [type, isAsked] : types) {
    table_.set({{.type = "ext4"}, {.point = table_.folder().path(), .type = type}});
    const FSRef root = table_->rootReference(table_->at(table_.folder().path()));
    EXPECT_EQ(root.identity().number != 0, isAsked) << type;
    EXPECT_TRUE(root.identity().isFolder) << type;
  }
}

TEST_F(FileSystemTypeTests, WhatStoresFilesIsAVolume) {
  for (const std::string type :
       {"ext2",    "ext3",     "xfs",      "btrfs",   "vfat", "exfat",      "ntfs3",        "iso9660",
        "udf",     "squashfs", "erofs",    "f2fs",    "zfs",  "tmpfs",      "ramfs",        "rootfs",
        "overlay", "aufs",     "virtiofs", "fuseblk", "fuse", "fuse.encfs", "something-new"}) {
    table_.set({{.type = "ext4"}, {.point = "/v", .type = type}});
    EXPECT_TRUE(table_->has("/v")) << type;
  }
}

TEST_F(FileSystemTypeTests, WhatOnlyShowsSomethingIsNone) {
  for (const std::string type :
       {"proc",   "sysfs",      "devtmpfs",    "devpts",     "cgroup",      "cgroup2",
        "mqueue", "hugetlbfs",  "debugfs",     "tracefs",    "securityfs",  "pstore",
        "bpf",    "autofs",     "binfmt_misc", "configfs",   "fusectl",     "efivarfs",
        "nsfs",   "rpc_pipefs", "nfsd",        "fuse.lxcfs", "fuse.portal", "fuse.vmware-vmblock"}) {
    table_.set({{.type = "ext4"}, {.point = "/v", .type = type}});
    EXPECT_FALSE(table_->has("/v")) << type;
    EXPECT_EQ(table_->at("/v"), 0) << type;
  }
}

}  // namespace
}  // namespace ZtFoundation::test
