// The ".MASTER" file of a database: one record with the time-stamp header by which a host tells whether it can use the
// database. It is written once, when the database is created.
#ifndef QSRV_MASTERFILE_H
#define QSRV_MASTERFILE_H

#include <array>
#include <cstdint>
#include <ctime>
#include <string>

namespace qsrv {

inline constexpr int kMasterRecordLength = 128;  // words
inline constexpr int kLargestRecordLength = 65536;

using MasterRecord = std::array<std::int64_t, kMasterRecordLength>;

// The header for a time of creation.
MasterRecord master_record(const std::tm &created);

// True for anything that has the name, also for a link that leads nowhere.
bool file_exists(const std::string &path);

// The directory that a file stands in.
std::string directory_of(const std::string &path);

// Opens a new file with the path in front of its name; nothing that stands there already is followed or changed. Gives
// the descriptor, and the name in `made`. Throws not_opened.
int create_beside(const std::string &path, std::string &made);

// Creates the file with the present time. It appears complete or not at all. Throws exists or not_opened.
void create_master(const std::string &path);

}  // namespace qsrv

#endif
