// `sbr export`: a body as tables and as pictures, and the formats that they are written in.
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

// Tables, into a directory.
void export_csv(SBR body, const std::filesystem::path &directory);
void export_npz(SBR body, const std::filesystem::path &directory);
void export_json(SBR body, const std::filesystem::path &directory);
// Pictures, into a file. A build without the library of a format refuses it.
void export_vtu(SBR body, const std::filesystem::path &target);
void export_exodus(SBR body, const std::filesystem::path &target);
void export_glb(SBR body, const std::filesystem::path &target);
void export_stl(SBR body, const std::filesystem::path &target);
void export_obj(SBR body, const std::filesystem::path &target);

// The formats: a further one is a further row.
struct Exporter {
  const char *flag;
  const char *type;  // what the flag takes
  const char *help;
  void (*run)(SBR body, const std::filesystem::path &target);
};
inline constexpr Exporter kExporters[] = {
    {"--csv", "DIR", "Write tables of comma-separated values into a directory", export_csv},
    {"--npz", "DIR", "Write NumPy's packed arrays into a directory, a structured array for each table", export_npz},
    {"--json", "DIR", "Write JSON tables into a directory", export_json},
    {"--vtu", "FILE", "Write an unstructured grid of VTK for ParaView, each mode as fields of its points", export_vtu},
    {"--exodus", "FILE", "Write an Exodus II file, each mode as a step", export_exodus},
    {"--glb", "FILE", "Write a binary glTF 2.0 file, each mode as a morph target with an animation", export_glb},
    {"--stl", "FILE", "Write the surface as triangles in binary STL, without modes", export_stl},
    {"--obj", "FILE", "Write nodes and faces as Wavefront OBJ, without modes", export_obj},
};

}  // namespace sbrtool

#endif
