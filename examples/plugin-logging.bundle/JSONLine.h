#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

/// One log message as a JSON object on one line, newline included:
/// {"time":"2024-05-17T09:30:00.125Z","level":"warning","logger":"camera","message":"low battery"}
std::string jsonLine(std::chrono::system_clock::time_point time, std::int32_t level, std::string_view logger,
                     std::string_view message);
