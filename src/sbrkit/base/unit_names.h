// The unit names that messages show: "Failed to allocate memory at line %d in file %s." names one of these. They are
// texts of the interface, older than the rooms of the sources, and stand here and nowhere else.
#ifndef SBRKIT_BASE_UNIT_NAMES_H
#define SBRKIT_BASE_UNIT_NAMES_H

namespace sbr::unit_name {

inline constexpr const char *kCoarsening = "sbrcoarse";
inline constexpr const char *kConstruction = "sbrset";
inline constexpr const char *kContents = "sbrtoc";
inline constexpr const char *kData = "sbrdata";
inline constexpr const char *kDatabaseBinding = "sbrcdb";
inline constexpr const char *kDatabaseBlocks = "sbrdbblocks";
inline constexpr const char *kDatabaseBrowse = "sbrdbbrowse";
inline constexpr const char *kDatabaseFront = "sbrdbfront";
inline constexpr const char *kDatabaseWriting = "sbrwritedb";
inline constexpr const char *kInvariants = "sbrinvar";
inline constexpr const char *kMatrixOperators = "sbrmtxop";
inline constexpr const char *kMonitorPoints = "sbrmonpnt";
inline constexpr const char *kMotion = "sbrmod";
inline constexpr const char *kReading = "sbrread";
inline constexpr const char *kTools = "sbrtools";
inline constexpr const char *kWriting = "sbrwrite";

}  // namespace sbr::unit_name

#endif
