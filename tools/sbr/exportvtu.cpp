// An unstructured grid for ParaView and whatever else is built on VTK: nodes as points, faces as cells, each mode as
// fields of the points.
//
// The format is VTK's XML (VTK File Formats, Kitware): an array is the numbers of a table of block sizes, in base64,
// and behind it its bytes, cut into blocks that are packed by zlib, in base64 as well. The file is read as any XML.
#include <zlib.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdint>
#include <cstring>

#include "export.h"
#include "exportbody.h"
#include "givenarray.h"
#include "modefacts.h"
#include "page/markup.h"

namespace sbrtool {
namespace {

using sbrview::base64;
using sbrview::escaped;

// ---- bytes as text -------------------------------------------------------------------------------------------------

// The blocks of some bytes, packed, behind the table of their sizes.
std::string packed(const unsigned char *bytes, std::size_t count) {
  constexpr std::size_t kBlock = std::size_t{1} << 20U;
  const std::size_t blocks = (count + kBlock - 1) / kBlock;
  std::vector<std::uint64_t> sizes = {blocks, kBlock, count % kBlock};
  std::vector<unsigned char> data;
  for (std::size_t i = 0; i < blocks; ++i) {
    const std::size_t size = std::min(kBlock, count - i * kBlock);
    uLongf room = compressBound(static_cast<uLong>(size));
    const std::size_t before = data.size();
    data.resize(before + room);
    // Mode data hardly shrinks, whatever the effort.
    if (compress2(data.data() + before, &room, bytes + i * kBlock, static_cast<uLong>(size), Z_BEST_SPEED) != Z_OK)
      throw Failure(kFailed, "the grid cannot be packed");
    data.resize(before + room);
    sizes.push_back(room);
  }
  return base64(sizes.data(), sizes.size() * sizeof sizes[0]) + base64(data.data(), data.size());
}

// ---- elements of the file ------------------------------------------------------------------------------------------

template <class T>
constexpr const char *type_name();
template <>
constexpr const char *type_name<double>() {
  return "Float64";
}
template <>
constexpr const char *type_name<std::int32_t>() {
  return "Int32";
}
template <>
constexpr const char *type_name<std::int64_t>() {
  return "Int64";
}
template <>
constexpr const char *type_name<std::uint8_t>() {
  return "UInt8";
}

class Grid {
 public:
  explicit Grid(std::FILE *file) : file_(file) {}

  void line(const std::string &text) {
    if (std::fwrite(text.data(), 1, text.size(), file_) != text.size() || std::fputc('\n', file_) == EOF)
      throw Failure(kFailed, "the grid cannot be written");
  }

  // An array of tuples; each component may have a name, and all of them a unit. `tuples` is told where the grid does
  // not tell it.
  template <class T>
  void array(const std::string &name, const std::vector<T> &values, const std::vector<std::string> &components = {},
             const std::string &unit = "", bool tuples = false) {
    const std::size_t width = std::max<std::size_t>(components.size(), 1);
    std::string head = std::string("<DataArray type=\"") + type_name<T>() + "\" Name=\"" + escaped(name) +
                       "\" NumberOfComponents=\"" + std::to_string(width) + "\"";
    for (std::size_t c = 0; c < components.size(); ++c)
      head += " ComponentName" + std::to_string(c) + "=\"" + components[c] + "\"";
    if (tuples) head += " NumberOfTuples=\"" + std::to_string(values.size() / width) + "\"";
    line(head + " format=\"binary\">");
    line(packed(reinterpret_cast<const unsigned char *>(values.data()), values.size() * sizeof(T)));
    if (!unit.empty())
      line("<InformationKey name=\"UNITS_LABEL\" location=\"vtkDataArray\">" + escaped(unit) + "</InformationKey>");
    line("</DataArray>");
  }

  // A text is the list of its bytes, with a zero behind it.
  void text(const std::string &name, const std::string &value) {
    line("<DataArray type=\"String\" Name=\"" + escaped(name) + "\" NumberOfTuples=\"1\" format=\"ascii\">");
    std::string bytes;
    for (const char c : value) bytes += std::to_string(static_cast<int>(static_cast<unsigned char>(c))) + ' ';
    line(bytes + "0");
    line("</DataArray>");
  }

 private:
  std::FILE *file_;
};

// ---- content -------------------------------------------------------------------------------------------------------

const std::vector<std::string> kVector = {"X", "Y", "Z"};
// VTK's own order of a symmetric tensor, and where each component stands in the record.
const std::vector<std::string> kTensor = {"XX", "YY", "ZZ", "XY", "YZ", "XZ"};
constexpr std::size_t kTensorPlaces[] = {0, 1, 2, 3, 5, 4};

void put_field_data(Grid &grid, SBR body, const UnitLabels &units) {
  grid.line("<FieldData>");
  grid.text("title", title_of(body));
  grid.text("unit_of_mass", units.mass);
  grid.text("unit_of_length", units.length);
  grid.text("unit_of_time", units.time);
  grid.text("unit_of_force", units.force);
  const std::vector<ModeFacts> modes = facts_of_modes(body);
  if (!modes.empty()) {
    std::vector<std::int32_t> numbers;
    for (const ModeFacts &mode : modes) numbers.push_back(mode.number);
    grid.array("mode_number", numbers, {}, "", true);
    const auto column = [&](const char *name, double ModeFacts::*member, const std::string &unit) {
      std::vector<double> values;
      for (const ModeFacts &mode : modes) values.push_back(mode.*member);
      grid.array(name, values, {}, unit, true);
    };
    column("eigenvalue", &ModeFacts::eigenvalue, units.eigenvalue());
    column("frequency", &ModeFacts::hz, "1/" + units.time);
    column("generalized_mass", &ModeFacts::mass, units.mass_length2());
    column("generalized_stiffness", &ModeFacts::stiffness, units.force + " " + units.length);
  }
  grid.line("</FieldData>");
}

// Three or six components of a mode at each node.
void put_mode_kind(Grid &grid, SBR body, const UnitLabels &units, const std::vector<int> &places, int nodes, int kind,
                   int number, const std::string &suffix) {
  const std::vector<double> first = part_of_mode(body, number, kind, 0, places, nodes);
  const std::vector<double> second = part_of_mode(body, number, kind, 1, places, nodes);
  if (kind == 0) {
    grid.array("shape" + suffix, first, kVector, units.length);
    grid.array("rotation" + suffix, second, kVector, "rad");
    return;
  }
  std::vector<double> tensor(2 * first.size());
  for (std::size_t i = 0; i < static_cast<std::size_t>(nodes); ++i)
    for (std::size_t c = 0; c < 6; ++c) {
      const std::size_t place = kTensorPlaces[c];
      tensor[6 * i + c] = place < 3 ? first[3 * i + place] : second[3 * i + place - 3];
    }
  grid.array((kind == 1 ? "stress" : "strain") + suffix, tensor, kTensor, kind == 1 ? units.stress() : "");
  if (kind == 1) grid.array("von_mises" + suffix, von_mises(first, second), {}, units.stress());
}

void put_point_data(Grid &grid, SBR body, const Geometry &geometry, const UnitLabels &units) {
  grid.line("<PointData>");
  grid.array("node_id", geometry.ids);
  std::vector<double> masses;
  for (int i = 0; i < geometry.nodes(); ++i) masses.push_back(SBR_NodalMass(body, i));
  if (SBR_Exists(body, 8) != 0) grid.array("mass", masses, {}, units.mass);
  std::vector<std::uint8_t> marks(geometry.ids.size());
  int count = 0;
  const Given<int> interfaces = given_array(SBR_InterfaceNodes(body, &count), count);
  for (int i = 0; interfaces && i < count; ++i)
    if (interfaces[i] >= 0 && interfaces[i] < geometry.nodes()) marks[static_cast<std::size_t>(interfaces[i])] = 1;
  grid.array("interface_node", marks);
  for (int kind = 0; kind < 3; ++kind) {
    const std::vector<int> places = nodes_of_kind(body, geometry, kind);
    if (places.empty()) continue;
    if (kind > 0 && SBR_Exists(body, 29 + kind) != 0)
      put_mode_kind(grid, body, units, places, geometry.nodes(), kind, 0, "_pre");
    if (SBR_ModeExist(body, kind) == 0) continue;
    for (int m = 0; m < SBR_ModeCount(body); ++m) {
      const int number = SBR_ModeNumber(body, m);
      put_mode_kind(grid, body, units, places, geometry.nodes(), kind, number, "_" + std::to_string(number));
    }
  }
  grid.line("</PointData>");
}

std::uint8_t cell_type(std::size_t corners) {
  constexpr std::uint8_t kTypes[] = {0, 1 /* vertex */, 3 /* line */, 5 /* triangle */, 9 /* quadrilateral */};
  return corners < std::size(kTypes) ? kTypes[corners] : 7 /* polygon */;
}

// Faces, and behind them a point for each node that has no face, so that it shows.
void put_cells(Grid &grid, const Geometry &geometry) {
  const std::size_t faces = geometry.faces();
  std::vector<std::int64_t> connectivity(geometry.corners.begin(), geometry.corners.end());
  connectivity.insert(connectivity.end(), geometry.loose.begin(), geometry.loose.end());
  std::vector<std::int64_t> offsets(geometry.face_ends.begin(), geometry.face_ends.end());
  std::vector<std::uint8_t> types;
  std::vector<std::int32_t> numbers;
  for (std::size_t f = 0; f < faces; ++f) {
    types.push_back(cell_type(geometry.size(f)));
    numbers.push_back(static_cast<std::int32_t>(f + 1));
  }
  for (std::size_t i = 0; i < geometry.loose.size(); ++i) {
    offsets.push_back(static_cast<std::int64_t>(geometry.corners.size() + i + 1));
    types.push_back(cell_type(1));
    numbers.push_back(0);
  }
  grid.line("<CellData>");
  grid.array("face", numbers);
  grid.line("</CellData>");
  grid.line("<Cells>");
  grid.array("connectivity", connectivity);
  grid.array("offsets", offsets);
  grid.array("types", types);
  grid.line("</Cells>");
}

}  // namespace

void export_vtu(SBR body, const std::filesystem::path &target) {
  const Geometry geometry = geometry_of(body);
  const UnitLabels units(body);
  OutputFile file(target);
  Grid grid(file.stream());
  const char *order = std::endian::native == std::endian::little ? "LittleEndian" : "BigEndian";
  grid.line("<?xml version=\"1.0\"?>");
  grid.line(std::string("<VTKFile type=\"UnstructuredGrid\" version=\"1.0\" byte_order=\"") + order +
            "\" header_type=\"UInt64\" compressor=\"vtkZLibDataCompressor\">");
  grid.line("<UnstructuredGrid>");
  put_field_data(grid, body, units);
  grid.line("<Piece NumberOfPoints=\"" + std::to_string(geometry.nodes()) + "\" NumberOfCells=\"" +
            std::to_string(geometry.faces() + geometry.loose.size()) + "\">");
  put_point_data(grid, body, geometry, units);
  grid.line("<Points>");
  grid.array("points", geometry.xyz, kVector, units.length);
  grid.line("</Points>");
  put_cells(grid, geometry);
  grid.line("</Piece>\n</UnstructuredGrid>\n</VTKFile>");
  file.commit();
}

}  // namespace sbrtool
