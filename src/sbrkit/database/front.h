// The database front: the run of a database, from its start to its end. The unit owns the state of the run, of which
// there is one per process.
#ifndef SBRKIT_DATABASE_FRONT_H
#define SBRKIT_DATABASE_FRONT_H

namespace sbr::db {

// A private scratch database for reading bodies of others. False on a status; true also when one is started already.
[[nodiscard]] bool start_base() noexcept;
// Closes the scratch database and deletes its files. False, after a report, when it could not be closed.
[[nodiscard]] bool end_base() noexcept;
// The database with that ".MASTER" file, opened or made for writing. False after a report.
[[nodiscard]] bool start_write(const char *path) noexcept;
// Closes it and lets the library go. False, after a report, when it could not be closed.
[[nodiscard]] bool end_write() noexcept;

}  // namespace sbr::db

#endif
