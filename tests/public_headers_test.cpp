// The public headers are the manual: every exported operation has a contract, in a header that can be read at a
// sitting, and what the contracts say of null bodies is what happens.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "sbrkit/sbrkit.h"
#include "support/messages.h"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostLines = 299;

// ---- the headers as texts ------------------------------------------------------------------------------------------

std::string text_of(const fs::path &path) {
  std::ifstream in(path);
  return {std::istreambuf_iterator<char>(in), {}};
}

std::vector<fs::path> c_headers() {
  std::vector<fs::path> headers;
  for (const auto &entry : fs::directory_iterator(SBRKIT_SOURCE_DIR "/include/sbrkit"))
    if (entry.path().extension() == ".h") headers.push_back(entry.path());
  std::sort(headers.begin(), headers.end());
  return headers;
}

std::set<std::string> exported_names() {
  std::ifstream in(SBRKIT_SOURCE_DIR "/src/sbrkit/api/exported_names.txt");
  return {std::istream_iterator<std::string>(in), {}};
}

// A text without the frame of its comment, with single blanks.
std::string words_of(const std::string &comment) {
  std::istringstream in(comment);
  std::string words;
  for (std::string word; in >> word;)
    if (word != "*" && word != "/**" && word != "*/") words += (words.empty() ? "" : " ") + word;
  return words;
}

struct Operation {
  std::string contract;  // the words of the comment right above, empty without one
  std::string prototype;
  std::string header;
};

// Every operation that the headers declare, by name.
std::map<std::string, Operation> declared_operations() {
  std::map<std::string, Operation> operations;
  for (const fs::path &header : c_headers()) {
    const std::string text = text_of(header);
    for (std::size_t at = text.find("\nSBR_API "); at != std::string::npos; at = text.find("\nSBR_API ", at + 1)) {
      const std::string prototype = words_of(text.substr(at + 1, text.find(';', at) - at));
      const std::string front = prototype.substr(0, prototype.find('('));
      const std::string name = front.substr(front.find_last_of(" *") + 1);
      Operation operation{{}, prototype, header.filename()};
      if (text.compare(at - 2, 2, "*/") == 0)
        operation.contract = words_of(text.substr(text.rfind("/**", at), at - text.rfind("/**", at)));
      EXPECT_TRUE(operations.emplace(name, operation).second) << name << " is declared twice";
    }
  }
  return operations;
}

bool gives_something(const Operation &operation) { return operation.prototype.rfind("SBR_API void ", 0) != 0; }

bool takes_a_body(const Operation &operation) { return operation.prototype.find("(SBR body") != std::string::npos; }

TEST(PublicHeaders, EveryExportedOperationHasAContract) {
  const auto operations = declared_operations();
  for (const std::string &name : exported_names()) {
    const auto found = operations.find(name);
    ASSERT_NE(found, operations.end()) << name << " is declared nowhere";
    EXPECT_GE(found->second.contract.size(), 20U) << name << " in " << found->second.header;
    if (gives_something(found->second)) {
      EXPECT_NE(found->second.contract.find("@return "), std::string::npos) << name << " does not say what it gives";
    }
  }
}

TEST(PublicHeaders, DeclareNothingThatIsNotExported) {
  const std::set<std::string> exported = exported_names();
  for (const auto &[name, operation] : declared_operations()) EXPECT_EQ(exported.count(name), 1U) << name;
}

TEST(PublicHeaders, CanBeReadAtASitting) {
  for (const fs::path &header : c_headers()) {
    const std::string text = text_of(header);
    EXPECT_LE(static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')), kMostLines) << header;
  }
}

TEST(PublicHeaders, StartWithWhatTheyAreAbout) {
  for (const fs::path &header : c_headers())
    EXPECT_EQ(text_of(header).rfind("/** @file\n *  @brief ", 0), 0U) << header;
}

// The library's own headers take their guards from their rooms: "sbrkit" is none.
TEST(PublicHeaders, HaveGuardsThatNoOtherHeaderHas) {
  for (const fs::path &header : c_headers()) {
    std::string guard = "SBRKIT_SBRKIT_" + header.stem().string() + "_H\n";
    std::transform(guard.begin(), guard.end(), guard.begin(), [](unsigned char c) { return std::toupper(c); });
    std::string opening("\n#ifndef ");
    opening.append(guard).append("#define ").append(guard);
    EXPECT_NE(text_of(header).find(opening), std::string::npos) << header;
  }
}

TEST(PublicHeaders, AreAllIncludedByTheOneForEverything) {
  const std::string umbrella = text_of(SBRKIT_SOURCE_DIR "/include/sbrkit/sbrkit.h");
  for (const fs::path &header : c_headers()) {
    const std::string name = header.filename();
    if (name == "sbrkit.h" || name == "qsrv_entries.h") continue;
    EXPECT_NE(umbrella.find("#include \"sbrkit/" + name + "\"\n"), std::string::npos) << name;
  }
}

// The operations of this library that a contract mentions.
std::set<std::string> mentioned_in(const std::string &contract) {
  static const std::regex mention("\\b((?:SBR|DB|CDB)_\\w+)\\(\\)");
  std::set<std::string> names;
  for (std::sregex_iterator found(contract.begin(), contract.end(), mention), end; found != end; ++found)
    names.insert((*found)[1]);
  return names;
}

TEST(PublicHeaders, MentionOnlyOperationsThatThereAre) {
  const std::set<std::string> exported = exported_names();
  for (const auto &[name, operation] : declared_operations())
    for (const std::string &mentioned : mentioned_in(operation.contract)) {
      EXPECT_EQ(exported.count(mentioned), 1U) << name << " speaks of " << mentioned;
    }
}

// ---- null bodies ---------------------------------------------------------------------------------------------------

constexpr std::size_t kRoom = 65536;
alignas(std::max_align_t) std::array<char, kRoom> room;

// What an argument that is not the body is called with: zero, room for anything, or rows of it.
template <class T>
T harmless() {
  if constexpr (std::is_same_v<T, std::FILE *>) {
    return nullptr;
  } else if constexpr (std::is_pointer_v<T> && std::is_pointer_v<std::remove_pointer_t<T>>) {
    static std::array<std::remove_cv_t<std::remove_pointer_t<T>>, 64> rows;
    rows.fill(reinterpret_cast<std::remove_pointer_t<T>>(room.data()));
    return rows.data();
  } else if constexpr (std::is_pointer_v<T>) {
    return reinterpret_cast<T>(room.data());
  } else {
    return T{};
  }
}

using Call = std::function<void()>;

template <class Result, class... Arguments>
Call with_null_body(Result (*operation)(SBR, Arguments...)) {
  return [operation] { static_cast<void>(operation(nullptr, harmless<Arguments>()...)); };
}

Call with_null_body(int (*operation)(SBR, int, ...)) {
  return [operation] { static_cast<void>(operation(nullptr, 3, 1, 2, 3)); };
}

const std::map<std::string, Call> &calls_with_null_bodies() {
  static const std::map<std::string, Call> calls = {
#define SBR_OPERATION(name) {#name, with_null_body(name)},
#include "headers/body_operations.inc"
#undef SBR_OPERATION
  };
  return calls;
}

class NullBody : public sbrtest::LibraryTest {};

TEST_F(NullBody, IsReportedOrNotAsTheContractSays) {
  for (const auto &[name, operation] : declared_operations()) {
    if (!takes_a_body(operation)) continue;
    const auto call = calls_with_null_bodies().find(name);
    ASSERT_NE(call, calls_with_null_bodies().end()) << name << " is not tried";
    const bool reported = operation.contract.find("Null body: reported") != std::string::npos;
    const bool silent = operation.contract.find("Null body: silent") != std::string::npos;
    ASSERT_NE(reported, silent) << name << " does not say what a null body does";
    log.clear();
    call->second();
    const auto count =
        std::count(log.all().begin(), log.all().end(), sbrtest::error("The database has not been initialized."));
    // The exchange looks two IDs up.
    const auto most = name == "SBR_SwapNodesByID" ? 2 : 1;
    EXPECT_GE(count, reported ? 1 : 0) << name << ": " << operation.contract;
    EXPECT_LE(count, reported ? most : 0) << name << ": " << operation.contract;
  }
}

}  // namespace
