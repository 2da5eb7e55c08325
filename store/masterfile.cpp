// The ".MASTER" file: places of the header's parts and their words.
#include "masterfile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "status.h"

namespace qsrv {
namespace {

// Words of the header: where its parts start, and what they hold.
constexpr std::size_t kFirstPart = 3;
constexpr std::size_t kRecordLength = 4;
constexpr std::size_t kPartCount = 5;
constexpr std::size_t kStampPlace = 6;
constexpr std::size_t kSetPlace = 8;
constexpr std::size_t kCreationPlace = 10;
constexpr std::size_t kStamp = 16;
constexpr std::size_t kSet = 40;
constexpr std::size_t kCreation = 64;

// Four characters in the low half of each word.
void put_text(MasterRecord &record, std::size_t index, const char *text, std::size_t words) {
  for (std::size_t i = 0; i < words; ++i) {
    std::uint32_t characters = 0;
    std::memcpy(&characters, text + 4 * i, 4);
    record[index + i] = characters;
  }
}

// Two-digit fields as one decimal number.
std::int64_t decimal(int first, int second, int third) { return first * 10000 + second * 100 + third; }

}  // namespace

MasterRecord master_record(const std::tm &created) {
  const std::int64_t date = decimal(created.tm_year % 100, created.tm_mon + 1, created.tm_mday);
  const std::int64_t time = decimal(created.tm_hour, created.tm_min, created.tm_sec);
  MasterRecord record{};
  record[kFirstPart] = kStamp;
  record[kRecordLength] = kMasterRecordLength;
  record[kPartCount] = 3;
  record[kStampPlace] = kStamp;
  record[kSetPlace] = kSet;
  record[kCreationPlace] = kCreation;

  put_text(record, kStamp + 3, "*TIME STAMP*", 3);
  record[kStamp + 6] = date;
  record[kStamp + 7] = time;
  record[kStamp + 8] = date;
  record[kStamp + 9] = time;
  put_text(record, kSet + 3, "MASTER  ", 2);
  put_text(record, kCreation + 8, "22.2    ", 2);
  record[kCreation + 15] = 3;  // 64-bit words, little-endian, IEEE numbers
  return record;
}

bool file_exists(const std::string &path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0;
}

std::string directory_of(const std::string &path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

int create_beside(const std::string &path, std::string &made) {
  constexpr int kMostTries = 10000;
  for (int number = 1; number <= kMostTries; ++number) {
    made = path + ".new-" + std::to_string(::getpid()) + '-' + std::to_string(number);
    const int file = ::open(made.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
    if (file >= 0) return file;
    if (errno != EEXIST) break;
  }
  throw Failure{Status::not_opened};
}

namespace {

// Gives a file its name unless that name is taken. Not every file system knows the exclusive form, nor hard links:
// there the lock on the data file, which whoever creates a master holds, keeps other creators away.
bool rename_exclusively(const std::string &from, const std::string &to) {
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP) return false;
  if (file_exists(to)) {
    errno = EEXIST;
    return false;
  }
  return ::rename(from.c_str(), to.c_str()) == 0;
}

// The name of a new file lasts when its directory has reached the disk.
void keep_name(const std::string &path) {
  const int directory = ::open(directory_of(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (directory < 0) return;
  ::fsync(directory);
  ::close(directory);
}

}  // namespace

void create_master(const std::string &path) {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  ::localtime_r(&now, &local);
  const MasterRecord record = master_record(local);

  std::string fresh;
  const int file = create_beside(path, fresh);
  const bool written =
      ::write(file, record.data(), sizeof record) == static_cast<ssize_t>(sizeof record) && ::fsync(file) == 0;
  const bool closed = ::close(file) == 0;
  if (written && closed && rename_exclusively(fresh, path)) return keep_name(path);
  const bool taken = written && closed && errno == EEXIST;
  ::unlink(fresh.c_str());
  throw Failure{taken ? Status::exists : Status::not_opened};
}

}  // namespace qsrv
