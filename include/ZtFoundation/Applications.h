/// \file Applications.h
/// Applications: find them, tell what an item is, launch them and tools, open files.
/// Threads: functions may be called by any thread.
#pragma once

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/String.h>
#include <ZtFoundation/platform/URL.h>

namespace ZtFoundation {

// --- Finding applications

// --- What an item is

// --- Launching and opening

// --- Tools

/// Starts the command-line program `tool` with `arguments`, strings that it gets as their bytes; none is the same as an empty array. Does not wait for
/// it. Task.h tells what the program inherits, and how it is looked at. True when it runs right after the start: of a program that ends at
/// once it may say false although it ran. False, and nothing is started, for none, for a URL without a path, for what does not exist and
/// for what is no plain file, such as a folder or a package.
///
/// Raises NSInvalidArgumentException when the system cannot start the file, or an argument is no string (`NSTask`).
ZT_EXPORT bool ZtLSLaunchToolAtPathAndArguments(const Ref<NSString>& tool, const Ref<NSArray>& arguments);
ZT_EXPORT bool ZtLSLaunchToolAtURLAndArguments(const Ref<NSURL>& tool, const Ref<NSArray>& arguments);

}  // namespace ZtFoundation
