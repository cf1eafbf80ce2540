#include <ZtFoundation/platform/Log.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>

#include <ZtFoundation/platform/Runtime.h>

#include "platform/objects/TextBuilder.h"
#include "platform/objects/UTF8.h"
#include "platform/services/LogSink.h"

namespace ZtFoundation {

namespace {

bool isShownEscaped(char character) {
  const auto byte = static_cast<unsigned char>(character);
  return (byte < 0x20 && character != '\n' && character != '\t') || byte == 0x7F;
}

std::string escaped(const std::string& text) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string result;
  for (const char character : text) {
    if (isShownEscaped(character)) {
      result.append("\\x").append(1, kDigits[character >> 4]).append(1, kDigits[character & 15]);
    } else {
      result += character;
    }
  }
  return result;
}

// Whether all bytes are printable ASCII; eight at a time, since most lines are nothing else.
bool isPrintable(std::string_view bytes) {
  constexpr std::uint64_t kEach = 0x0101010101010101;
  std::uint64_t odd = 0;
  while (bytes.size() >= sizeof odd) {
    std::uint64_t eight;
    std::memcpy(&eight, bytes.data(), sizeof eight);
    odd |= (eight - kEach * 0x20) | (eight + kEach) | eight;
    bytes.remove_prefix(sizeof odd);
  }
  return (odd & kEach * 0x80) == 0 &&
         std::all_of(bytes.begin(), bytes.end(), [](char character) { return character >= ' ' && character <= '~'; });
}

void writeLine(const UnitView& text) {
  if (!text.isWide() && isPrintable(text.narrow())) return service<LogSink>().write(text.narrow());
  service<LogSink>().write(escaped(*detail::encodeUTF8(text, detail::LoneSurrogates::Replace)));
}

void appendOrNull(detail::TextBuilder& out, const Ref<NSString>& format, FormatArguments arguments) {
  if (format) return detail::appendFormatted(out, format, arguments);
  out.append("(null)");
}

void appendHead(detail::TextBuilder& line, std::string_view level, const UnitView& logger) {
  line.append(level);
  line.append(" ");
  line.append(logger);
  line.append(" - ");
}

void writePlain(const Ref<NSString>& format, FormatArguments arguments) {
  detail::TextBuilder text;
  appendOrNull(text, format, arguments);
  writeLine(text.units());
}

void writeLevelled(std::string_view level, const Ref<NSObject>& logger, const Ref<NSString>& format,
                   FormatArguments arguments) {
  detail::TextBuilder line;
  const NSString* name = as<NSString>(logger.get());
  if (name != nullptr && !name->isMutable()) {  // Nobody can tell when it was asked, so no second buffer is needed.
    appendHead(line, level, name->units());
    appendOrNull(line, format, arguments);
  } else {
    detail::TextBuilder message;
    appendOrNull(message, format, arguments);
    const Ref<NSString> described = logger ? detail::describe(logger.get()) : nullptr;
    appendHead(line, level, described ? described->units() : UnitView("(null)", 6));
    line.append(message.units());
  }
  writeLine(line.units());
}

// A line that there is no memory for is dropped.
template <class Write>
void writeIfPossible(Write write) {
  const int errorNumber = errno;
  try {
    write();
  } catch (const std::bad_alloc&) {
  }
  errno = errorNumber;
}

}  // namespace

void NSLogv(const Ref<NSString>& format, FormatArguments arguments) {
  writeIfPossible([&] { writePlain(format, arguments); });
}

void detail::logMessage(std::string_view level, const Ref<NSObject>& logger, const Ref<NSString>& format,
                        FormatArguments arguments) {
  writeIfPossible([&] {
    if (level.empty()) {
      formatText(format, arguments);
    } else {
      writeLevelled(level, logger, format, arguments);
    }
  });
}

}  // namespace ZtFoundation
