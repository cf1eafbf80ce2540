/// \file ModuleLoader.h
/// Opens the parts of the library that live in shared objects of their own.
#pragma once

namespace ZtFoundation {

/// The function `entry` of the module `file` ("libZtFoundationUnicode.so"), which lies in the folder that this library was loaded
/// from. Null when there is no such module or function. The module stays loaded.
void* moduleFunction(const char* file, const char* entry);

}  // namespace ZtFoundation
