#include "base/reports.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>

#include "sbrkit/sbrkit.h"

namespace sbr {
namespace {

constexpr int kTextSize = 1008;

message_handlers handlers_in_use{nullptr, nullptr, nullptr};

// Held while a handler is looked up and runs: one at a time. A handler may report or install others itself.
std::recursive_mutex &handlers_lock() noexcept {
  static std::recursive_mutex lock;
  return lock;
}

using Handler = int (*message_handlers::*)(const char *);

int deliver(Handler severity, const char *format, std::va_list arguments) noexcept {
  if (format == nullptr) return 0;
  const std::lock_guard hold(handlers_lock());
  const auto handler = handlers_in_use.*severity;
  if (handler == nullptr) return 0;
  char text[kTextSize];
  if (std::vsnprintf(text, sizeof text, format, arguments) < 0) return 0;
  return handler(text);
}

}  // namespace

void report_error(const char *format, ...) noexcept {
  std::va_list arguments;
  va_start(arguments, format);
  (void)deliver(&message_handlers::error, format, arguments);
  va_end(arguments);
}

void report_warning(const char *format, ...) noexcept {
  std::va_list arguments;
  va_start(arguments, format);
  (void)deliver(&message_handlers::warning, format, arguments);
  va_end(arguments);
}

void report_info(const char *format, ...) noexcept {
  std::va_list arguments;
  va_start(arguments, format);
  (void)deliver(&message_handlers::info, format, arguments);
  va_end(arguments);
}

bool report_no_memory(const char *unit, int line) noexcept {
  report_error("Failed to allocate memory at line %d in file %s.\n", line, unit);
  return false;
}

}  // namespace sbr

using sbr::deliver;
using sbr::handlers_in_use;

extern "C" {

int SBR_Error(const char *format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const int result = deliver(&message_handlers::error, format, arguments);
  va_end(arguments);
  return result;
}

int SBR_Warning(const char *format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const int result = deliver(&message_handlers::warning, format, arguments);
  va_end(arguments);
  return result;
}

int SBR_Info(const char *format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const int result = deliver(&message_handlers::info, format, arguments);
  va_end(arguments);
  return result;
}

int SetMessageHandlers(const message_handlers *handlers) {
  const std::lock_guard hold(sbr::handlers_lock());
  handlers_in_use = handlers != nullptr ? *handlers : message_handlers{nullptr, nullptr, nullptr};
  return 1;
}

}  // extern "C"
