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

}  // namespace ZtFoundation
