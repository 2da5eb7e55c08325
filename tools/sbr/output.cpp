#include "output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "session.h"

namespace sbrtool {
namespace {

namespace fs = std::filesystem;

// The rights of a new file: those that the user's mask leaves.
mode_t rights_of_new_files() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

}  // namespace

void OutputFile::fail(const std::string &reason) const { throw Failure(kFailed, given_.string() + ": " + reason); }

void require_other_file(const std::string &input, const std::filesystem::path &output, const char *noun) {
  std::error_code code;
  if (std::filesystem::equivalent(input, output, code))
    throw Failure(kUsage, output.string() + ": is the " + noun + " itself; write to another file");
}

OutputFile::OutputFile(const fs::path &target) : given_(target), target_(target) {
  if (target.empty()) throw Failure(kUsage, "the name of the output is empty");
  std::error_code code;
  const fs::file_status status = fs::status(target, code);
  if (fs::is_directory(status)) throw Failure(kUsage, target.string() + ": is a directory");
  if (fs::exists(status)) {
    if (faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0) fail(std::strerror(errno));
    target_ = fs::canonical(target, code);
    if (code) fail(code.message());
  } else if (fs::is_symlink(fs::symlink_status(target, code))) {
    fail("is a link to a file that is not there");
  }
  regular_ = !fs::exists(status) || fs::is_regular_file(status);
  if (regular_)
    make_beside();
  else
    path_ = target.string();
}

// The same directory, so that the rename is one step. The name is made new, so that no planted link is followed.
void OutputFile::make_beside() {
  struct stat before {};
  const bool replaces = stat(target_.c_str(), &before) == 0;
  std::string name = target_.string() + ".partial-XXXXXX";
  // A signal that comes between the file and its guard waits.
  const OrderlyEnd both;
  const int descriptor = mkostemp(name.data(), O_CLOEXEC);
  if (descriptor < 0) fail(std::strerror(errno));
  try {
    path_ = name;
    pending_ = std::make_unique<RemovedOnInterrupt>(name);
  } catch (...) {
    ::close(descriptor);
    unlink(name.c_str());
    throw;
  }
  // A file system without rights has none to lose.
  static_cast<void>(fchmod(descriptor, replaces ? before.st_mode & 07777 : rights_of_new_files()));
  ::close(descriptor);
}

OutputFile::~OutputFile() {
  if (stream_ != nullptr) std::fclose(stream_);
  if (!pending_) return;
  unlink(path_.c_str());
}

std::FILE *OutputFile::stream() {
  if (stream_ == nullptr) stream_ = std::fopen(path_.c_str(), "wb");
  if (stream_ == nullptr) fail(std::strerror(errno));
  return stream_;
}

void OutputFile::close() {
  if (stream_ == nullptr) return;
  const bool written = std::ferror(stream_) == 0;
  const bool closed = std::fclose(stream_) == 0;
  stream_ = nullptr;
  if (!written || !closed) fail(std::string("cannot be written: ") + std::strerror(errno));
}

void OutputFile::commit() {
  close();
  if (!pending_) return;
  const OrderlyEnd both;
  if (std::rename(path_.c_str(), target_.c_str()) != 0) fail(std::strerror(errno));
  pending_.reset();
}

}  // namespace sbrtool
