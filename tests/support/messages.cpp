#include "support/messages.h"

#include <ostream>
#include <regex>

namespace sbrtest {
namespace {
MessageLog *current = nullptr;
}

int collect(Severity severity, const char *text) {
  if (current != nullptr) current->messages_.push_back({severity, text});
  return 0;
}

void PrintTo(const Message &message, std::ostream *out) {
  static const char *const names[] = {"error", "warning", "info"};
  *out << names[static_cast<int>(message.severity)] << ' ' << ::testing::PrintToString(message.text);
}

MessageLog::MessageLog() {
  current = this;
  const message_handlers handlers{[](const char *text) { return collect(Severity::error, text); },
                                  [](const char *text) { return collect(Severity::warning, text); },
                                  [](const char *text) { return collect(Severity::info, text); }};
  SetMessageHandlers(&handlers);
}

MessageLog::~MessageLog() {
  const message_handlers none{nullptr, nullptr, nullptr};
  SetMessageHandlers(&none);
  current = nullptr;
}

std::vector<Message> MessageLog::take() { return std::exchange(messages_, {}); }

std::vector<Message> MessageLog::take_complaints() {
  std::vector<Message> complaints;
  for (Message &message : messages_)
    if (message.severity != Severity::info) complaints.push_back(std::move(message));
  messages_.clear();
  return complaints;
}

bool is_no_memory(const Message &message, const std::string &unit) {
  static const std::regex pattern(R"(Failed to allocate memory at line [0-9]+ in file ([a-z0-9_]+)\.\n)");
  std::smatch match;
  return message.severity == Severity::error && std::regex_match(message.text, match, pattern) && match[1] == unit;
}

}  // namespace sbrtest
