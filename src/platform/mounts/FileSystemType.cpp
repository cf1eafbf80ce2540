#include "platform/mounts/FileSystemType.h"

#include <libmount/libmount.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <string>

#include "platform/mounts/Owned.h"

namespace ZtFoundation::mounts {

namespace {

template <std::size_t count>
bool contains(const std::string_view (&list)[count], std::string_view wanted) {
  return std::find(std::begin(list), std::end(list), wanted) != std::end(list);
}

constexpr OSType code(std::string_view four) {
  OSType result = 0;
  for (std::size_t at = 0; at < 4; ++at) {
    result = result << 8 | static_cast<unsigned char>(at < four.size() ? four[at] : ' ');
  }
  return result;
}

struct Server {
  std::string_view name;
  std::string_view kind;
};

// By the type that the kernel shows, without "fuse.".
constexpr Server kTypes[] = {
    {"nfs", "nfs"},      {"nfs4", "nfs"},        {"cifs", "smb"},       {"smb3", "smb"},
    {"smbfs", "smb"},    {"smbnetfs", "smb"},    {"afpfs", "afpm"},     {"davfs", "http"},
    {"davfs2", "http"},  {"wdfs", "http"},       {"sshfs", "ssh"},      {"curlftpfs", "ftp"},
    {"ncpfs", "ncp"},    {"ncp", "ncp"},         {"afs", "afs"},        {"coda", "coda"},
    {"ceph", "ceph"},    {"ceph-fuse", "ceph"},  {"glusterfs", "glus"}, {"lustre", "lust"},
    {"beegfs", "beeg"},  {"pvfs2", "pvfs"},      {"moosefs", "moos"},   {"mfs", "moos"},
    {"juicefs", "juic"}, {"s3fs", "s3"},         {"goofys", "s3"},      {"gcsfuse", "gcs"},
    {"rclone", "rclo"},  {"gvfsd-fuse", "gvfs"}, {"kio-fuse", "kio"},   {"google-drive-ocamlfuse", "gdri"},
};

// By the scheme of a source that is a URL.
constexpr Server kSchemes[] = {
    {"http", "http"}, {"https", "http"}, {"dav", "http"}, {"davs", "http"}, {"afp", "afpm"}, {"smb", "smb"},
    {"cifs", "smb"},  {"ssh", "ssh"},    {"sftp", "ssh"}, {"nfs", "nfs"},   {"ftps", "ftp"},
};

template <std::size_t count>
OSType kindNamed(const Server (&list)[count], std::string_view name) {
  const auto* found = std::find_if(std::begin(list), std::end(list), [&](const Server& it) { return it.name == name; });
  return found != std::end(list) ? code(found->kind) : 0;
}

bool isSchemeCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
}

// The scheme in small letters; empty for what is no URL.
std::string schemeOf(std::string_view source) {
  const std::size_t end = source.find("://");
  if (end == std::string_view::npos) return {};
  std::string scheme(source.substr(0, end));
  for (char& c : scheme) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 0x20) : c;
  return std::all_of(scheme.begin(), scheme.end(), isSchemeCharacter) ? scheme : std::string();
}

OSType kindOfURL(std::string_view source) {
  const std::string scheme = schemeOf(source);
  if (scheme.empty() || scheme == "file") return 0;
  const OSType known = kindNamed(kSchemes, scheme);
  return known != 0 ? known : code(scheme);
}

bool hasOption(std::string_view options, std::string_view wanted) {
  for (std::size_t at = 0; at < options.size();) {
    const std::size_t end = std::min(options.find(',', at), options.size());
    if (options.substr(at, end - at) == wanted) return true;
    at = end + 1;
  }
  return false;
}

bool isFuse(std::string_view type) { return type == "fuse" || type.starts_with("fuse."); }

bool isPseudo(const char* type) {
  const std::unique_ptr<libmnt_fs, decltype(&mnt_unref_fs)> fs(made(mnt_new_fs()), mnt_unref_fs);
  if (mnt_fs_set_fstype(fs.get(), type) != 0) throw std::bad_alloc();
  return mnt_fs_is_pseudofs(fs.get()) != 0;
}

}  // namespace

bool storesFiles(const char* type) {
  // libmount calls pseudo whatever has no disk.
  static constexpr std::string_view kStoring[] = {"tmpfs", "ramfs", "rootfs", "overlay", "virtiofs", "vboxsf"};
  static constexpr std::string_view kShowing[] = {"fusectl",    "fuse.lxcfs", "fuse.portal", "fuse.vmware-vmblock",
                                                  "fuse.xwmfs", "ocfs2_dlmfs"};
  if (contains(kShowing, type)) return false;
  return isFuse(type) || contains(kStoring, type) || !isPseudo(type);
}

OSType serverKind(std::string_view type, std::string_view source, std::string_view options) {
  if (type == "9p") {
    return hasOption(options, "trans=tcp") || hasOption(options, "trans=rdma") ? code("9p") : 0;
  }
  const std::string_view name = type.starts_with("fuse.") ? type.substr(5) : type;
  const OSType known = kindNamed(kTypes, name);
  return known == 0 && isFuse(type) ? kindOfURL(source) : known;
}

bool isMountedByUsers(std::string_view type) { return isFuse(type); }

bool mayBlock(std::string_view type, OSType server) { return server != 0 || type.starts_with("fuse"); }

}  // namespace ZtFoundation::mounts
