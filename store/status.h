// The statuses of the store. Inside the store a failure is thrown; the entry points turn it into its status.
#ifndef QSRV_STATUS_H
#define QSRV_STATUS_H

namespace qsrv {

enum class Status : int {
  ok = 0,
  not_booted = 101,
  no_database = 102,
  not_opened = 103,       // a file cannot be opened, created or written where it should stand
  exists = 104,           // a new database under a name that has one
  bad_command = 105,      // a command that is not understood
  bad_qualifier = 106,    // a qualifier that the dictionary could not list
  not_a_store = 107,      // a file that is no data file of this store, or a damaged one
  unknown_logical = 108,  // a logical name that nothing is assigned to
  bad_unit = 109,         // a unit that does not exist, or is open in another mode
  end_of_record = 110,
  end_of_data = 111,
  busy = 112,         // another process keeps the database locked
  not_written = 113,  // something could not be stored; the run is undone
  no_memory = 114,
  bad_argument = 115,
  no_room = 116,      // a result does not fit into the caller's buffer
  lost_master = 117,  // data blocks without the ".MASTER" file that belongs to them
};

struct Failure {
  Status status;
};

}  // namespace qsrv

#endif
