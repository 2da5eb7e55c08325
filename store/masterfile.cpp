// The ".MASTER" file: places of the header's parts and their words.
#include "masterfile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
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

bool file_exists(const std::string &path) { return ::access(path.c_str(), F_OK) == 0; }

void create_master(const std::string &path) {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  ::localtime_r(&now, &local);
  const MasterRecord record = master_record(local);

  const std::string fresh = path + ".new";
  const int file = ::open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (file < 0) throw Failure{Status::not_opened};
  const bool written =
      ::write(file, record.data(), sizeof record) == static_cast<ssize_t>(sizeof record) && ::fsync(file) == 0;
  ::close(file);
  const bool linked = written && ::link(fresh.c_str(), path.c_str()) == 0;
  const bool present = written && !linked && errno == EEXIST;
  ::unlink(fresh.c_str());
  if (present) throw Failure{Status::exists};
  if (!linked) throw Failure{Status::not_opened};
}

}  // namespace qsrv
