// Scratch directories, whole files in and out, and environment variables that are put back.
#ifndef SBRKIT_TESTS_SUPPORT_FILES_H
#define SBRKIT_TESTS_SUPPORT_FILES_H

#include <sys/resource.h>

#include <filesystem>
#include <optional>
#include <string>

namespace sbrtest {

// A fresh directory that goes, with all in it, at the end.
class ScratchDirectory {
 public:
  ScratchDirectory();
  ~ScratchDirectory();
  ScratchDirectory(const ScratchDirectory &) = delete;
  ScratchDirectory &operator=(const ScratchDirectory &) = delete;
  [[nodiscard]] const std::filesystem::path &path() const { return path_; }
  [[nodiscard]] std::string file(const std::string &name) const { return (path_ / name).string(); }
  // How many files stand in it, those in directories inside it not counted.
  [[nodiscard]] int count_files() const;

 private:
  std::filesystem::path path_;
};

std::string read_file(const std::filesystem::path &path);
void write_file(const std::filesystem::path &path, const std::string &bytes);
// The bytes of a gzip-packed file.
std::string read_gzip(const std::filesystem::path &path);

// Sets (or with nullopt unsets) an environment variable for as long as it lives.
class ScopedEnvironment {
 public:
  ScopedEnvironment(std::string name, std::optional<std::string> value);
  ~ScopedEnvironment();
  ScopedEnvironment(const ScopedEnvironment &) = delete;
  ScopedEnvironment &operator=(const ScopedEnvironment &) = delete;

 private:
  std::string name_;
  std::optional<std::string> before_;
};

// No file can grow beyond so many bytes for as long as it lives: a write there fails as on a full disk.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes);
  ~FileSizeLimit();
  FileSizeLimit(const FileSizeLimit &) = delete;
  FileSizeLimit &operator=(const FileSizeLimit &) = delete;

 private:
  rlimit before_{};
  void (*handler_)(int);
};

}  // namespace sbrtest

#endif
