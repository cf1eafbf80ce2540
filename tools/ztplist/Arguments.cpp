#include "Arguments.h"

#include <array>
#include <charconv>

#include "Documents.h"
#include "Streams.h"

namespace ztplist {

namespace {

struct Option {
  char letter;
  std::string_view name;
  std::string_view value;  ///< what its value is called; empty when it takes none
  std::string_view help;
  void (*apply)(Arguments& arguments, const std::string& value);
  bool onlyLong = false;
};

constexpr std::array<Option, 10> kOptions{{
    {'F', "format", "FORMAT", "the format of the input; needed only for ini, which cannot be told from its contents",
     [](Arguments& arguments, const std::string& value) { arguments.format = formatNamed(value); }, true},
    {'T', "to", "FORMAT", "write a property list in FORMAT (xml1, binary1 or ini)",
     [](Arguments& arguments, const std::string& value) { arguments.to = outputFormatNamed(value); }, true},
    {'o', "output", "FILE", "write to FILE (- for standard output); it is replaced as a whole or not at all",
     [](Arguments& arguments, const std::string& value) {
       arguments.output = isStandardOutput(value) ? kStandardStream : value;
     }},
    {'i', "in-place", "", "write each file back to where it was read",
     [](Arguments& arguments, const std::string&) { arguments.inPlace = true; }},
    {'s', "sort-keys", "", "write the keys of each dictionary in order, for small differences between versions",
     [](Arguments& arguments, const std::string&) { arguments.sortKeys = true; }},
    {'f', "force", "", "write binary1 to a terminal too",
     [](Arguments& arguments, const std::string&) { arguments.force = true; }},
    {'q', "quiet", "", "say nothing on standard output",
     [](Arguments& arguments, const std::string&) { arguments.quiet = true; }},
    {'r', "raw", "", "write the bytes of the text or data, and no line end after them",
     [](Arguments& arguments, const std::string&) { arguments.raw = true; }},
    {'t', "typed", "", "show the type before the value",
     [](Arguments& arguments, const std::string&) { arguments.typed = true; }},
    {'h', "help", "", "show this help", [](Arguments& arguments, const std::string&) { arguments.help = true; }},
}};

bool takes(const Command& command, const Option& option) {
  return option.letter == 'h' || command.options.find(option.letter) != std::string_view::npos;
}

[[noreturn]] void failUsage(const Command& command, const std::string& text) {
  throw Failure(Exit::Usage,
                std::string(command.name) + ": " + text + " (see ztplist help " + std::string(command.name) + ")");
}

template <class Matches>
const Option& findOption(const Command& command, const std::string& word, Matches matches) {
  for (const auto& option : kOptions) {
    if (takes(command, option) && matches(option)) return option;
  }
  failUsage(command, "it takes no option " + word);
}

// Also "-inf" and "-nan".
bool isReal(std::string_view word) {
  double value = 0;
  return std::from_chars(word.data(), word.data() + word.size(), value).ptr == word.data() + word.size();
}

// A negative number is a value, not an option.
bool isOption(std::string_view word) {
  return word.size() > 1 && word[0] == '-' && word[1] != '.' && (word[1] < '0' || word[1] > '9') && !isReal(word);
}

class Parser {
 public:
  Parser(const Command& command, std::span<char* const> words) : command_(command), words_(words) {}

  Arguments parse() {
    while (at_ < words_.size()) readWord(words_[at_++]);
    return std::move(arguments_);
  }

 private:
  void readWord(const std::string& word) {
    if (onlyOperands_ || !isOption(word)) {
      arguments_.operands.push_back(word);
    } else if (word == "--") {
      onlyOperands_ = true;
    } else if (word.starts_with("--")) {
      readLong(word);
    } else {
      readLetters(word);
    }
  }

  void readLong(const std::string& word) {
    const std::size_t equals = word.find('=');
    const std::string name = word.substr(2, equals == std::string::npos ? equals : equals - 2);
    const Option& option = findOption(command_, word, [&](const Option& known) { return known.name == name; });
    const bool hasValue = equals != std::string::npos;
    if (hasValue && option.value.empty()) failUsage(command_, "--" + name + " takes no value");
    use(option, word, hasValue ? word.substr(equals + 1) : nextValue(option, word));
  }

  void readLetters(const std::string& word) {
    for (std::size_t index = 1; index < word.size(); ++index) {
      const Option& option = findOption(
          command_, word, [&](const Option& known) { return !known.onlyLong && known.letter == word[index]; });
      const std::string attached = word.substr(index + 1);
      if (!option.value.empty() && !attached.empty()) return use(option, word, attached);
      use(option, word, nextValue(option, word));
    }
  }

  std::string nextValue(const Option& option, const std::string& word) {
    if (option.value.empty()) return {};
    if (at_ == words_.size()) failWithoutValue(option, word);
    return words_[at_++];
  }

  // A value that is empty is most likely a variable that a script has not set.
  void use(const Option& option, const std::string& word, const std::string& value) {
    if (value.empty() && !option.value.empty()) failWithoutValue(option, word);
    option.apply(arguments_, value);
  }

  [[noreturn]] void failWithoutValue(const Option& option, const std::string& word) {
    failUsage(command_, word + " needs a " + std::string(option.value));
  }

  const Command& command_;
  std::span<char* const> words_;
  std::size_t at_ = 0;
  bool onlyOperands_ = false;
  Arguments arguments_;
};

std::string describe(const Option& option) {
  std::string left = option.onlyLong ? "      --" : std::string("  -") + option.letter + ", --";
  left += option.name;
  if (!option.value.empty()) (left += ' ') += option.value;
  left.resize(std::max<std::size_t>(left.size() + 1, 24), ' ');
  return left + std::string(option.help) + "\n";
}

}  // namespace

std::string Arguments::file(std::size_t index) const {
  return index < operands.size() ? operands[index] : std::string(kStandardStream);
}

Arguments parseArguments(const Command& command, std::span<char* const> words) {
  Arguments arguments = Parser(command, words).parse();
  if (arguments.help) return arguments;
  if (arguments.operands.size() < command.fewest) failUsage(command, "too little on the command line");
  if (arguments.operands.size() > command.most)
    failUsage(command, "too much on the command line: " + arguments.operands.back());
  return arguments;
}

std::string helpText(const Command& command) {
  std::string text = "usage: ztplist " + std::string(command.name) + " [OPTION...] " + std::string(command.operands) +
                     "\n" + std::string(command.summary) + "\n\noptions:\n";
  for (const auto& option : kOptions) {
    if (takes(command, option)) text += describe(option);
  }
  return text;
}

}  // namespace ztplist
