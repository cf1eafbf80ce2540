#include "platform/linux/applications/CommandLine.h"

#include <cstdlib>
#include <string_view>
#include <utility>

#include <ZtFoundation/platform/URL.h>

#include "platform/linux/applications/ItemInformation.h"

namespace ZtFoundation::detail {

namespace {

// Where the C library looks without PATH.
constexpr std::string_view kDefaultPath = "/bin:/usr/bin";
// What a backslash escapes in double quotes.
constexpr std::string_view kEscapable = "\"`$\\";
// What the system hands to a program at most, each argument with the byte that ends it.
constexpr std::size_t kLongestArgument = 128 << 10;
constexpr std::size_t kLongestArguments = 2 << 20;

bool isBlank(char byte) { return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r'; }

// One argument while it is read. What is quoted has each "%" doubled, so that it stands for itself when codes are
// filled in.
class Argument {
 public:
  void addPlain(char byte) {
    text_ += byte;
    isPlain_ = true;
    isInCode_ = byte == '%' && !isInCode_;
  }
  void addEscaped(char byte) {
    breakCode();
    addLiteral(byte);
    isPlain_ = true;
  }
  void addQuoted(char byte) {
    addLiteral(byte);
    quoted_ += byte;
  }
  void noteQuotes() {
    breakCode();
    ++quotes_;
  }

  bool isEmpty() const { return text_.empty() && quotes_ == 0; }
  std::string take() {
    const bool isOneCode = !isPlain_ && quotes_ == 1 && quoted_.size() == 2 && quoted_[0] == '%';
    std::string text = isOneCode ? std::move(quoted_) : std::move(text_);
    *this = Argument();
    return text;
  }

 private:
  // What is quoted is never the letter of a code. A blank is none.
  void breakCode() {
    if (isInCode_) text_ += ' ';
  }
  void addLiteral(char byte) { text_.append(byte == '%' ? 2 : 1, byte); }

  std::string text_, quoted_;
  std::size_t quotes_ = 0;
  bool isPlain_ = false, isInCode_ = false;
};

// Divides a line into arguments whose field codes are still to be filled in.
class Splitter {
 public:
  explicit Splitter(std::string_view line) : rest_(line) {}

  // Without any when the line is not well-formed.
  std::vector<std::string> split() {
    while (!rest_.empty()) {
      if (!readOne(next())) return {};
    }
    finishArgument();
    return std::move(arguments_);
  }

 private:
  char next() {
    const char byte = rest_.front();
    rest_.remove_prefix(1);
    return byte;
  }

  bool readOne(char byte) {
    if (byte == '"') return readDoubleQuotes();
    if (byte == '\'') return readSingleQuotes();
    if (byte == '\\') return readEscaped();
    if (isBlank(byte)) {
      finishArgument();
    } else {
      argument_.addPlain(byte);
    }
    return true;
  }

  bool readEscaped() {
    if (rest_.empty()) return false;
    argument_.addEscaped(next());
    return true;
  }

  bool readDoubleQuotes() {
    argument_.noteQuotes();
    while (!rest_.empty()) {
      const char byte = next();
      if (byte == '"') return true;
      const bool escapes = byte == '\\' && !rest_.empty() && kEscapable.find(rest_.front()) != std::string_view::npos;
      argument_.addQuoted(escapes ? next() : byte);
    }
    return false;
  }

  bool readSingleQuotes() {
    argument_.noteQuotes();
    while (!rest_.empty()) {
      const char byte = next();
      if (byte == '\'') return true;
      argument_.addQuoted(byte);
    }
    return false;
  }

  void finishArgument() {
    if (!argument_.isEmpty()) arguments_.push_back(argument_.take());
  }

  std::string_view rest_;
  Argument argument_;
  std::vector<std::string> arguments_;
};

// Empty for no path.
std::string urlOf(const std::string& path) {
  const Ref<NSURL> url = NSURL::fileURLWithPath(NSString::stringWithFileSystemRepresentation(path));
  return url ? url->absoluteString()->utf8() : std::string();
}

// Fills in the field codes.
class Filler {
 public:
  Filler(const DesktopEntry& entry, const std::string& entryPath, const std::string& document)
      : entry_(entry), entryPath_(entryPath), document_(document) {}

  // None when the first is no program, or would be the document, and for more than the system hands on.
  std::optional<std::vector<std::string>> fill(const std::vector<std::string>& arguments) {
    for (const std::string& argument : arguments) {
      if (!fillOne(argument) || filled_.empty() || filled_.front().empty()) return std::nullopt;
      if (&argument == &arguments.front() && tookDocument_) return std::nullopt;
    }
    if (!tookDocument_ && !document_.empty() && !add(document_)) return std::nullopt;
    return std::move(filled_);
  }

 private:
  // An argument that is nothing but a code without a value goes away. Two characters come to nothing only as a code.
  bool fillOne(const std::string& argument) {
    if (argument == "%i") return addIcon();
    std::optional<std::string> text = filledText(argument);
    if (!text) return false;
    const bool goesAway = argument.size() == 2 && text->empty();
    return goesAway || add(*std::move(text));
  }

  bool addIcon() { return entry_.icon.empty() || (add("--icon") && add(entry_.icon)); }

  bool add(std::string argument) {
    size_ += argument.size() + 1;
    if (argument.size() >= kLongestArgument || size_ > kLongestArguments) return false;
    filled_.push_back(std::move(argument));
    return true;
  }

  std::optional<std::string> filledText(const std::string& argument) {
    std::string text;
    for (std::size_t at = 0; at < argument.size(); ++at) {
      if (argument[at] != '%') {
        text += argument[at];
        continue;
      }
      const std::optional<std::string> value = ++at < argument.size() ? valueOf(argument[at]) : std::nullopt;
      if (!value) return std::nullopt;
      text += *value;
      if (text.size() >= kLongestArgument) return std::nullopt;  // at once, as codes may be many and their values long
    }
    return text;
  }

  std::optional<std::string> valueOf(char code) {
    switch (code) {
      case '%':
        return "%";
      case 'f':
      case 'F':
        tookDocument_ = true;
        return document_;
      case 'u':
      case 'U':
        tookDocument_ = true;
        return urlOf(document_);
      case 'i':
        return entry_.icon;
      case 'c':
        return entry_.name;
      case 'k':
        return entryPath_;
      default:
        return isOutOfUse(code) ? std::optional<std::string>("") : std::nullopt;
    }
  }

  static bool isOutOfUse(char code) { return std::string_view("dDnNvm").find(code) != std::string_view::npos; }

  const DesktopEntry& entry_;
  const std::string& entryPath_;
  const std::string& document_;
  bool tookDocument_ = false;
  std::vector<std::string> filled_;
  std::size_t size_ = 0;
};

}  // namespace

std::optional<std::vector<std::string>> argumentsOfEntry(const DesktopEntry& entry, const std::string& entryPath,
                                                         const std::string& document) {
  const std::vector<std::string> arguments = Splitter(entry.command).split();
  if (arguments.empty()) return std::nullopt;
  return Filler(entry, entryPath, document).fill(arguments);
}

std::string programNamed(const std::string& name) {
  if (name.find('/') != std::string::npos) return isProgram(name) ? name : std::string();
  const char* const variable = std::getenv("PATH");
  std::string_view rest = variable != nullptr ? variable : kDefaultPath;
  for (bool isLast = name.empty(); !isLast;) {
    const std::size_t end = rest.find(':');
    isLast = end == std::string_view::npos;
    std::string program(rest.substr(0, end));  // an empty one is the present folder
    if (program.empty()) program.push_back('.');
    program.append("/").append(name);
    if (isProgram(program)) return program;
    rest.remove_prefix(end + 1);  // nothing behind the last
  }
  return {};
}

}  // namespace ZtFoundation::detail
