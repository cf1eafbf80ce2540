#include "JSONLine.h"

#include <array>
#include <cstdio>

namespace {

std::string escaped(unsigned char character) {
  std::array<char, 8> text{};
  std::snprintf(text.data(), text.size(), "\\u%04x", character);
  return text.data();
}

void appendQuoted(std::string& line, std::string_view text) {
  line += '"';
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (character == '"' || character == '\\') {
      line.append(1, '\\').append(1, character);
    } else if (byte < 0x20 || byte == 0x7F) {
      line += escaped(byte);
    } else {
      line += character;
    }
  }
  line += '"';
}

void appendMember(std::string& line, std::string_view name, std::string_view value) {
  line += line.empty() ? '{' : ',';
  appendQuoted(line, name);
  line += ':';
  appendQuoted(line, value);
}

std::string timeText(std::chrono::system_clock::time_point time) {
  using namespace std::chrono;
  const auto day = floor<days>(time);
  const year_month_day date(day);
  const hh_mm_ss clock(floor<milliseconds>(time - day));
  std::array<char, 80> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                static_cast<int>(clock.seconds().count()), static_cast<int>(clock.subseconds().count()));
  return text.data();
}

// The names of the system log.
std::string levelName(std::int32_t level) {
  static constexpr std::array kNames{"emergency", "alert", "critical", "error", "warning", "notice", "info", "debug"};
  const auto number = static_cast<std::uint32_t>(level);
  return number < kNames.size() ? kNames[number] : std::to_string(level);
}

}  // namespace

std::string jsonLine(std::chrono::system_clock::time_point time, std::int32_t level, std::string_view logger,
                     std::string_view message) {
  std::string line;
  appendMember(line, "time", timeText(time));
  appendMember(line, "level", levelName(level));
  appendMember(line, "logger", logger);
  appendMember(line, "message", message);
  return line + "}\n";
}
