// The binding of the database library. The unit owns the library object and the 19 entry pointers; everybody else calls
// the CDB_ operations, which refuse with a report and a failing status when the entry is not bound.
#ifndef SBRKIT_DATABASE_BINDING_H
#define SBRKIT_DATABASE_BINDING_H

namespace sbr {

// The status that a CDB_ operation gives when its entry is not bound.
inline constexpr int kEntryMissing = -1;

// The largest record length that the bound library can handle; 2^31 - 1 when there is no library to ask.
int record_limit() noexcept;

}  // namespace sbr

#endif
