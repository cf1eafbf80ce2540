/// \file Executable.h
/// For which machine a program is made.
#pragma once

#include <string>

namespace ZtFoundation::detail {

/// Whether the file at `path` (links followed) is a program for the architecture that this process runs as, by the
/// header of its ELF file: the same machine, word size and byte order. So an i386 program is not native to an x86-64
/// process, though the system runs it. A script is native when the interpreter of its `#!` line is, as deep as the
/// system goes (interpreters of interpreters to the fifth). The permission to execute does not count. False for what
/// cannot be read, is no regular file or is cut short.
bool isNativeProgram(const std::string& path);

}  // namespace ZtFoundation::detail
