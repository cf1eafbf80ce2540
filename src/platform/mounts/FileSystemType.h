/// \file FileSystemType.h
/// What the mount table tells about a kind of file system, so that the file system need not be asked.
#pragma once

#include <string_view>

#include <ZtFoundation/platform/Types.h>

namespace ZtFoundation::mounts {

/// False for what the kernel shows as files without storing any.
bool storesFiles(const char* type);

/// The kind of server that the files come from; 0 for a local file system. What hosts of virtual machines share with
/// their guests is local.
OSType serverKind(std::string_view type, std::string_view source, std::string_view options);

/// True when users may mount such a file system, who then say what its source is called.
bool isMountedByUsers(std::string_view type);

/// True when a server or a program answers for the file system, so that a question to it may wait for ever.
bool mayBlock(std::string_view type, OSType server);

}  // namespace ZtFoundation::mounts
