// The shared library shows exactly the names of its list. That the public headers declare them is told by
// public_headers_test.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>

namespace {

// As people write them, the members of classes with their arguments; each with the version of the interface that it
// bears.
std::map<std::string, std::string> exported_by_library() {
  std::map<std::string, std::string> names;
  std::FILE *pipe = popen("nm -D -C --defined-only " SBRKIT_LIBRARY, "r");
  std::array<char, 4096> line{};
  while (pipe != nullptr && std::fgets(line.data(), line.size(), pipe) != nullptr) {
    std::istringstream words(line.data());
    std::string address;
    std::string type;
    std::string name;
    words >> address >> type >> std::ws;
    std::getline(words, name);
    const std::size_t end = name.find("@@");
    if (type != "A") names[name.substr(0, end)] = end == std::string::npos ? "" : name.substr(end + 2);
  }
  if (pipe != nullptr) pclose(pipe);
  return names;
}

std::set<std::string> names_in(const char *path) {
  std::set<std::string> names;
  std::ifstream in(path);
  for (std::string name; std::getline(in, name);) names.insert(name);
  return names;
}

TEST(Exports, TheLibraryShowsExactlyItsListedNamesEachWithItsVersion) {
  std::map<std::string, std::string> listed;
  for (const std::string &name : names_in(SBRKIT_SOURCE_DIR "/src/sbrkit/api/exported_names.txt"))
    listed[name] = "SBRKIT_1.0";
  for (const std::string &name : names_in(SBRKIT_SOURCE_DIR "/src/sbrkit/api/exported_classes.txt"))
    listed[name] = "SBRKIT_1.1";
  EXPECT_EQ(exported_by_library(), listed);
}

TEST(Exports, TheLoaderClassIsTheOnlyOneShown) {
  for (const std::string &name : names_in(SBRKIT_SOURCE_DIR "/src/sbrkit/api/exported_classes.txt"))
    EXPECT_NE(name.find("ktxDynamicLibrary"), std::string::npos) << name;
}

}  // namespace
