// A C++ program that uses the shared library and the public loader class: both share one state. Its argument is a
// library with hooks; it works in its current directory.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "sbrkit/dynamic_library.hpp"
#include "sbrkit/sbrkit.h"

namespace {

int failures = 0;

void expect(bool good, const char *what) {
  if (good) return;
  std::fprintf(stderr, "failed: %s\n", what);
  ++failures;
}

std::string calls() {
  const char *value = std::getenv("HOOKED_CALLS");
  return value != nullptr ? value : "";
}

}  // namespace

int main(int argc, char **argv) {
  if (argc != 2) return 2;
  const std::filesystem::path place = std::filesystem::current_path() / "loader_host_plugins";
  std::filesystem::create_directories(place);
  std::filesystem::copy_file(argv[1], place / "Qsrv_22_2.so", std::filesystem::copy_options::overwrite_existing);
  for (const char *name : {"KTX_USER_PLUGIN_DIR", "PATH", "KTX_CPU", "short_topdir", "HOOKED_CALLS"}) unsetenv(name);
  {
    ktxDynamicLibrary mine;
    expect(CDB_LoadLibrary() == 0, "the database library is not found without a search list");
    ktxDynamicLibrary::set_search_list(place.c_str(), false);
    expect(CDB_LoadLibrary() == 1, "the host's search list leads the binding");
    expect(mine.reference_count_of("Qsrv_22_2") == 1, "the host sees the binding's reference");
    expect(mine.load("Qsrv_22_2"), "the host loads the same library");
    expect(mine.reference_count_of("Qsrv_22_2") == 2, "both hold it");
    expect(calls() == "i", "it was initialized once");
    CDB_UnloadLibrary();
    expect(mine.is_loaded() && calls() == "i", "the binding's end leaves the host's reference");
  }
  expect(calls() == "it", "the last reference ended it");
  std::filesystem::remove_all(place);
  return failures == 0 ? 0 : 1;
}
