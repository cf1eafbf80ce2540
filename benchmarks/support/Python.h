// What the same work takes in Python, started anew each time; the program itself takes the time and prints it.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

#include "support/Timing.h"

namespace bench {

// The figures that `program` prints, divided by spaces, of which there must be `count`; none without Python.
inline std::vector<double> python(const std::string& program, std::size_t count) {
  require(program.find('\'') == std::string::npos, "quoting a program");
  std::vector<double> figures;
  std::FILE* const pipe = ::popen(("exec python3 -c '" + program + "' 2>/dev/null").c_str(), "r");
  require(pipe != nullptr, "starting a shell");
  for (double figure = 0; std::fscanf(pipe, "%lf", &figure) == 1;) figures.push_back(figure);
  const bool isInstalled = ::pclose(pipe) == 0;
  require(!isInstalled || figures.size() == count, "measuring Python");
  return isInstalled ? figures : std::vector<double>{};
}

}  // namespace bench
