// `sbr export`: a body as tables, and the formats that they are written in.
#ifndef SBRKIT_TOOLS_SBR_EXPORT_H
#define SBRKIT_TOOLS_SBR_EXPORT_H

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "output.h"
#include "session.h"

namespace sbrtool {

struct ExportColumn {
  std::string name;
  std::string unit;  // empty for a number without one
  bool integer = false;
};

// A table whose rows are made one after the other, so that a body of any size needs the memory of one mode.
struct ExportTable {
  std::string name;
  std::vector<ExportColumn> columns;
  std::int64_t rows = 0;
  // Calls its argument for each row, with a value for each column.
  std::function<void(const std::function<void(const double *)> &row)> produce;
};

// All tables of a body.
std::vector<ExportTable> tables_of(SBR body);

// The files of one export. They get their names together, when all of them are whole.
class ExportFiles {
 public:
  // Makes the directory where it is not there.
  explicit ExportFiles(const std::filesystem::path &directory);
  // A new file of the directory.
  std::FILE *open(const std::string &name);
  void commit();

 private:
  std::filesystem::path directory_;
  std::vector<std::unique_ptr<OutputFile>> files_;
};

void export_csv(SBR body, const std::filesystem::path &directory);
void export_npz(SBR body, const std::filesystem::path &directory);
void export_json(SBR body, const std::filesystem::path &directory);

// The formats: a further one is a further row.
struct Exporter {
  const char *flag;
  const char *help;
  void (*run)(SBR body, const std::filesystem::path &directory);
};
inline constexpr Exporter kExporters[] = {
    {"--csv", "Write tables of comma-separated values into a directory", export_csv},
    {"--npz", "Write NumPy's packed arrays into a directory, a structured array for each table", export_npz},
    {"--json", "Write JSON tables into a directory", export_json},
};

}  // namespace sbrtool

#endif
