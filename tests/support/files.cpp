#include "support/files.h"

#include <zlib.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace sbrtest {

ScratchDirectory::ScratchDirectory() {
  std::string pattern = (std::filesystem::temp_directory_path() / "sbrkit_test_XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no scratch directory");
  path_ = pattern;
}

ScratchDirectory::~ScratchDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

int ScratchDirectory::count_files() const {
  const std::filesystem::directory_iterator entries(path_);
  return static_cast<int>(
      std::count_if(begin(entries), end(entries), [](const auto &entry) { return entry.is_regular_file(); }));
}

std::string read_file(const std::filesystem::path &path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot read " + path.string());
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}

void write_file(const std::filesystem::path &path, const std::string &bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!out) throw std::runtime_error("cannot write " + path.string());
}

std::string read_gzip(const std::filesystem::path &path) {
  gzFile in = gzopen(path.c_str(), "rb");
  if (in == nullptr) throw std::runtime_error("cannot read " + path.string());
  std::string bytes;
  char piece[65536];
  int got = 0;
  while ((got = gzread(in, piece, sizeof piece)) > 0) bytes.append(piece, static_cast<std::size_t>(got));
  gzclose(in);
  if (got < 0) throw std::runtime_error("cannot unpack " + path.string());
  return bytes;
}

ScopedEnvironment::ScopedEnvironment(std::string name, std::optional<std::string> value) : name_(std::move(name)) {
  if (const char *before = std::getenv(name_.c_str()); before != nullptr) before_ = before;
  if (value)
    setenv(name_.c_str(), value->c_str(), 1);
  else
    unsetenv(name_.c_str());
}

ScopedEnvironment::~ScopedEnvironment() {
  if (before_)
    setenv(name_.c_str(), before_->c_str(), 1);
  else
    unsetenv(name_.c_str());
}

FileSizeLimit::FileSizeLimit(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
  if (getrlimit(RLIMIT_FSIZE, &before_) != 0) throw std::runtime_error("no limit of files is known");
  rlimit limit = before_;
  limit.rlim_cur = bytes;
  if (setrlimit(RLIMIT_FSIZE, &limit) != 0) throw std::runtime_error("files cannot be limited");
}

FileSizeLimit::~FileSizeLimit() {
  setrlimit(RLIMIT_FSIZE, &before_);
  std::signal(SIGXFSZ, handler_);
}

}  // namespace sbrtest
