// ztplist: looks at property lists of any format, checks, converts, changes and compares them.

#include <array>
#include <exception>

#include "Arguments.h"
#include "Commands.h"
#include "Failure.h"
#include "Streams.h"

namespace ztplist {

namespace {

constexpr std::array<Command, 7> kCommands{{
    {"print", "[FILE...]", "Shows a property list with the types of its values.", "F", 0, kAnyNumber, runPrint},
    {"lint", "[FILE...]",
     "Tells whether files are sound property lists, and where not. Of an INI file, tells what reading it would drop.",
     "Fq", 0, kAnyNumber, runLint},
    {"convert", "FORMAT [FILE...]",
     "Writes property lists in another format: xml1, binary1 or ini. They go to standard output unless told otherwise.",
     "Foisf", 1, kAnyNumber, runConvert},
    {"get", "KEYPATH [FILE]", "Shows the value at a key path.", "FTfrt", 1, 2, runGet},
    {"set", "KEYPATH TYPE VALUE [FILE]",
     "Puts a value at a key path and saves the file in the format that it had. Types: string, integer, real, boolean\n"
     "(true or false), date (2024-02-29T13:45:00Z), data (hexadecimal digits), array and dictionary (a property list\n"
     "in OpenStep text or XML). Dictionaries on the way are made; the index that is the count of an array appends.",
     "FTof", 3, 4, runSet},
    {"delete", "KEYPATH [FILE]", "Takes the value at a key path out and saves the file in the format that it had.",
     "FTof", 1, 2, runDelete},
    {"diff", "FILE1 FILE2", "Shows what differs in the values of two property lists, whatever their formats.", "Fq", 2,
     2, runDiff},
}};

constexpr std::string_view kGeneralHelp = R"(
ztplist help COMMAND tells more about each. FILE is "-" or left out for standard input. The format of the input is
told from its contents, but for INI files: they need --format ini. Files are replaced as a whole or not at all, links
to files are kept.

A key path leads from the root to a value: keys of dictionaries and indexes of arrays, with "." between them, such as
Tracks.0.Name. A backslash before "." or "\" makes it part of a key; \n, \r, \t and \uXXXX stand for characters. "/" is
the root itself, "\/" a key of that name.

exit codes:
  0  success; diff: no difference
  1  the answer is no: differences found, a file that is not sound, nothing at the key path
  2  wrong usage
  3  something could not be read or written
  4  the input is no property list, or the value has no form in the wanted format
)";

void printHelp(Output& output) {
  output << "usage: ztplist COMMAND [OPTION...] [OPERAND...]\n\ncommands:\n";
  for (const auto& command : kCommands) {
    std::string left = "  " + std::string(command.name) + " " + std::string(command.operands);
    left.resize(std::max<std::size_t>(left.size() + 1, 36), ' ');
    const std::string_view summary = command.summary;
    output << left << summary.substr(0, summary.find('.') + 1) << '\n';
  }
  output << kGeneralHelp;
}

const Command& commandNamed(std::string_view name) {
  for (const auto& command : kCommands) {
    if (command.name == name) return command;
  }
  throw Failure(Exit::Usage, "there is no command '" + std::string(name) + "' (see ztplist help)");
}

bool asksForHelp(std::string_view word) { return word == "help" || word == "--help" || word == "-h"; }

Exit runHelp(std::span<char* const> words, Output& output) {
  if (words.empty()) {
    printHelp(output);
  } else {
    output << helpText(commandNamed(words.front()));
  }
  return Exit::Success;
}

Exit run(std::span<char* const> words, Output& output) {
  if (words.empty()) throw Failure(Exit::Usage, "no command given (see ztplist help)");
  if (asksForHelp(words.front())) return runHelp(words.subspan(1), output);
  const Command& command = commandNamed(words.front());
  const Arguments arguments = parseArguments(command, words.subspan(1));
  if (arguments.help) return runHelp(words.first(1), output);
  return command.run(arguments, output);
}

Exit runGuarded(std::span<char* const> words) {
  try {
    Output output;
    const Exit result = run(words, output);
    output.finish();
    return result;
  } catch (const std::exception&) {
    return complainAboutException("");
  }
}

}  // namespace

}  // namespace ztplist

int main(int argc, char** argv) {
  ztplist::prepareStandardStreams();
  const std::span<char* const> words(argv, static_cast<std::size_t>(argc));
  return static_cast<int>(ztplist::runGuarded(words.empty() ? words : words.subspan(1)));
}
