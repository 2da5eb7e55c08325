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

bool file_exists(const std::string &path);

// Creates the file with the present time. It appears complete or not at all. Throws exists or not_opened.
void create_master(const std::string &path);

}  // namespace qsrv

#endif
