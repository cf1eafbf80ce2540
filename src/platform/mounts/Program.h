/// \file Program.h
/// Running a program of the system.
#pragma once

#include <string>
#include <vector>

namespace ZtFoundation::mounts {

/// Runs the program, found in PATH, waits for it and answers what it wrote on its standard error stream, in English.
/// Empty when it does not start.
std::string complaintOf(const std::vector<std::string>& command);

}  // namespace ZtFoundation::mounts
