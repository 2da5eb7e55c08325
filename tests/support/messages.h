// Collects what the library reports, in order, so that a test can compare whole sequences.
#ifndef SBRKIT_TESTS_SUPPORT_MESSAGES_H
#define SBRKIT_TESTS_SUPPORT_MESSAGES_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sbrkit/sbrkit.h"

namespace sbrtest {

enum class Severity { error, warning, info };

struct Message {
  Severity severity;
  std::string text;
  bool operator==(const Message &) const = default;
};
void PrintTo(const Message &message, std::ostream *out);

inline Message error(std::string text) { return {Severity::error, std::move(text)}; }
inline Message warning(std::string text) { return {Severity::warning, std::move(text)}; }
inline Message info(std::string text) { return {Severity::info, std::move(text)}; }

// Installs handlers that collect for as long as it lives; then no handlers are installed.
class MessageLog {
 public:
  MessageLog();
  ~MessageLog();
  MessageLog(const MessageLog &) = delete;
  MessageLog &operator=(const MessageLog &) = delete;

  // What has come since the last call, and forgets it.
  std::vector<Message> take();
  // Only the errors and warnings of what has come since the last call.
  std::vector<Message> take_complaints();
  [[nodiscard]] const std::vector<Message> &all() const { return messages_; }
  void clear() { messages_.clear(); }

 private:
  friend int collect(Severity, const char *);
  std::vector<Message> messages_;
};

// True for "Failed to allocate memory at line N in file UNIT.\n" with any line.
bool is_no_memory(const Message &message, const std::string &unit);

// A fixture with a message log and a registry that is emptied at the end of each test.
class LibraryTest : public ::testing::Test {
 protected:
  ~LibraryTest() override { SBR_Terminate(); }
  MessageLog log;
};

}  // namespace sbrtest

#endif
