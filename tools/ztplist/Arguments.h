/// \file Arguments.h
/// The command line: options, operands and the commands that take them.
#pragma once

#include <ZtFoundation/PropertyLists.h>

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Failure.h"

namespace ztplist {

class Output;

using Format = ZtFoundation::QvPropertyListFormat;
inline constexpr Format kDetect = 0;
inline constexpr Format kOpenStep = 1;
inline constexpr Format kXML = 100;
inline constexpr Format kBinary = 200;
inline constexpr Format kINI = ZtFoundation::QvPropertyListINIFormat;

/// What stood on the command line after the command's name.
struct Arguments {
  std::vector<std::string> operands;
  Format format = kDetect;  ///< the format of the input
  Format to = kDetect;      ///< the format of the output; kDetect: the command's usual one
  std::string output;       ///< the file to write, empty when not given
  bool inPlace = false;
  bool sortKeys = false;
  bool force = false;
  bool quiet = false;
  bool raw = false;
  bool typed = false;
  bool help = false;

  /// The operand at `index`, or "-" when it was left out.
  std::string file(std::size_t index) const;
};

/// One command of the program.
struct Command {
  std::string_view name;
  std::string_view operands;  ///< as the usage line shows them
  std::string_view summary;
  std::string_view options;  ///< the letters of the options that it takes
  std::size_t fewest;        ///< operands
  std::size_t most;
  Exit (*run)(const Arguments&, Output&);
};

/// Any number of operands.
inline constexpr std::size_t kAnyNumber = ~std::size_t{0};

/// Throws Failure when the words do not fit the command.
Arguments parseArguments(const Command& command, std::span<char* const> words);

/// Usage, summary and options of one command.
std::string helpText(const Command& command);

}  // namespace ztplist
