#include "gmsh/binary.h"

#include <zlib.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>

#include "gmsh/gatherer.h"

namespace sbrtranslate {
namespace {

std::string bytes_of(const std::string &path) {
  const std::unique_ptr<gzFile_s, int (*)(gzFile)> file(gzopen(path.c_str(), "rb"), gzclose);
  if (!file) throw InputError({path, 0}, "cannot be opened");
  std::string bytes;
  std::array<char, 1 << 16> part{};
  int count = 0;
  while ((count = gzread(file.get(), part.data(), static_cast<unsigned>(part.size()))) > 0)
    bytes.append(part.data(), static_cast<std::size_t>(count));
  int code = Z_OK;
  gzerror(file.get(), &code);
  if (count < 0 || (code != Z_OK && code != Z_STREAM_END)) throw InputError({path, 0}, "the packed file is damaged");
  return bytes;
}

class BinaryReader {
 public:
  explicit BinaryReader(const std::string &path) : path_(path), bytes_(bytes_of(path)), gatherer_(path) {}
  Mesh read();

 private:
  [[noreturn]] void fail(const std::string &text) const {
    throw InputError({path_, 0}, "byte " + std::to_string(at_) + ": " + text);
  }
  template <class T>
  T take(const char *what) {
    T value;
    if (bytes_.size() - at_ < sizeof value) fail(std::string("the file ends inside ") + what);
    std::memcpy(&value, bytes_.data() + at_, sizeof value);
    at_ += sizeof value;
    return value;
  }
  // A number of the file's own size: 4 bytes in version 2, 8 in version 4.
  std::int64_t number(const char *what) {
    return version_ == 2 ? take<std::int32_t>(what) : static_cast<std::int64_t>(take<std::uint64_t>(what));
  }
  std::size_t checked_count(std::int64_t count, std::size_t bytes_each, const char *what) const;
  int id(std::int64_t value, const char *what) const;
  Vec3 place();
  std::string_view text_line();
  std::size_t text_count(const char *what);
  void end_section(const std::string &name);
  void skip_section(const std::string &name);
  void format();
  void physical_names();
  void entities();
  void nodes_2();
  void nodes_4();
  void elements_2();
  void elements_4();

  std::string path_;
  std::string bytes_;
  std::size_t at_ = 0;
  int version_ = 0;
  MeshGatherer gatherer_;
};

// A count that the rest of the file can hold.
std::size_t BinaryReader::checked_count(std::int64_t count, std::size_t bytes_each, const char *what) const {
  if (count < 0 || static_cast<std::uint64_t>(count) > (bytes_.size() - at_) / bytes_each)
    fail(std::to_string(count) + ": the file is too short for this count of " + what);
  return static_cast<std::size_t>(count);
}

int BinaryReader::id(std::int64_t value, const char *what) const {
  if (value < 1 || value > std::numeric_limits<int>::max())
    fail(std::string(what) + " " + std::to_string(value) + " is not a number from 1 to " +
         std::to_string(std::numeric_limits<int>::max()));
  return static_cast<int>(value);
}

Vec3 BinaryReader::place() {
  Vec3 place{};
  for (double &value : place)
    if (value = take<double>("coordinates"); !std::isfinite(value)) fail("a coordinate that is not a finite number");
  return place;
}

std::string_view BinaryReader::text_line() {
  const std::size_t end = bytes_.find('\n', at_);
  const std::size_t stop = end == std::string::npos ? bytes_.size() : end;
  const std::string_view line = std::string_view(bytes_).substr(at_, stop - at_);
  at_ = end == std::string::npos ? stop : stop + 1;
  return trim(line);
}

std::size_t BinaryReader::text_count(const char *what) {
  const auto value = to_int(text_line());
  if (!value) fail(std::string("a count of ") + what + " expected");
  return checked_count(*value, 8, what);
}

void BinaryReader::end_section(const std::string &name) {
  while (at_ < bytes_.size() && (bytes_[at_] == '\n' || bytes_[at_] == '\r')) ++at_;
  if (text_line() != "$End" + name) fail("$End" + name + " expected");
}

void BinaryReader::skip_section(const std::string &name) {
  const std::size_t end = bytes_.find("$End" + name, at_);
  if (end == std::string::npos) fail("the file ends inside $" + name);
  at_ = end;
  text_line();
}

void BinaryReader::format() {
  const auto head = split_words(text_line());
  if (head.size() < 3) fail("version, kind and size expected");
  if (head[0] == "2.2" || head[0] == "2") version_ = 2;
  if (head[0] == "4.1") version_ = 4;
  if (version_ == 0) fail("version " + std::string(head[0]) + " of the format; save the mesh as MSH 4.1 or 2.2");
  if (head[2] != "8") fail("reals of " + std::string(head[2]) + " bytes; save the mesh as text (gmsh -bin 0)");
  if (take<std::int32_t>("the format") != 1)
    fail("the bytes stand in the order of another machine; save the mesh as text (gmsh -bin 0)");
  end_section("MeshFormat");
}

void BinaryReader::physical_names() {
  const std::size_t total = text_count("names");
  for (std::size_t i = 0; i < total; ++i) {
    const std::string_view line = text_line();
    const auto words = split_words(line);
    const std::size_t open = line.find('"');
    const std::size_t close = line.rfind('"');
    const auto dimension = words.size() > 2 ? to_int(words[0]) : std::nullopt;
    const auto tag = words.size() > 2 ? to_int(words[1]) : std::nullopt;
    if (!dimension || !tag || open == std::string_view::npos || close <= open)
      fail("dimension, tag and name of a group expected");
    gatherer_.name_group(*dimension, *tag, line.substr(open + 1, close - open - 1));
  }
  end_section("PhysicalNames");
}

// Points have three coordinates, other entities a box; then come their groups, and what bounds them.
void BinaryReader::entities() {
  std::array<std::int64_t, 4> totals{};
  for (std::int64_t &total : totals) total = number("the counts of entities");
  for (int d = 0; d < 4; ++d)
    for (std::size_t i = checked_count(totals[static_cast<std::size_t>(d)], 36, "entities"); i > 0; --i) {
      const int entity = take<std::int32_t>("an entity");
      for (int k = 0; k < (d == 0 ? 3 : 6); ++k) take<double>("an entity");
      for (std::size_t k = checked_count(number("an entity"), 4, "groups"); k > 0; --k)
        gatherer_.add_to_group(d, entity, take<std::int32_t>("an entity"));
      if (d == 0) continue;
      for (std::size_t k = checked_count(number("an entity"), 4, "bounds"); k > 0; --k) take<std::int32_t>("an entity");
    }
  end_section("Entities");
}

void BinaryReader::nodes_2() {
  for (std::size_t i = text_count("nodes"); i > 0; --i) {
    const int node = id(number("a node"), "node");
    gatherer_.add_node(node, place());
  }
  end_section("Nodes");
}

void BinaryReader::nodes_4() {
  const std::size_t blocks = checked_count(number("the nodes"), 20, "blocks");
  for (int k = 0; k < 3; ++k) number("the nodes");
  std::vector<int> tags;
  for (std::size_t b = 0; b < blocks; ++b) {
    const int dimension = take<std::int32_t>("a block of nodes");
    take<std::int32_t>("a block of nodes");
    const bool parametric = take<std::int32_t>("a block of nodes") != 0;
    const std::size_t total = checked_count(number("a block of nodes"), 32, "nodes");
    tags.clear();
    for (std::size_t i = 0; i < total; ++i) tags.push_back(id(number("a node"), "node"));
    for (const int tag : tags) {
      gatherer_.add_node(tag, place());
      for (int k = 0; parametric && k < dimension; ++k) take<double>("a node");
    }
  }
  end_section("Nodes");
}

void BinaryReader::elements_2() {
  std::size_t left = text_count("elements");
  std::vector<int> tags;
  std::vector<int> ids;
  while (left > 0) {
    const int kind = take<std::int32_t>("a block of elements");
    const std::size_t total = checked_count(take<std::int32_t>("a block of elements"), 4, "elements");
    const std::size_t tag_count = checked_count(take<std::int32_t>("a block of elements"), 4, "tags");
    if (total == 0 || total > left) fail("the head of a block of elements expected");
    left -= total;
    for (std::size_t i = 0; i < total; ++i) {
      const int element = id(number("an element"), "element");
      tags.clear();
      ids.clear();
      for (std::size_t k = 0; k < tag_count; ++k) tags.push_back(take<std::int32_t>("an element"));
      for (int k = MeshGatherer::nodes_of_type(kind, element, {path_, 0}); k > 0; --k)
        ids.push_back(id(number("an element"), "node"));
      // The first tag is the group, 0 for none.
      const std::size_t groups = !tags.empty() && tags[0] != 0 ? 1 : 0;
      gatherer_.add_element(element, kind, ids, std::span(tags).first(groups), {path_, 0});
    }
  }
  end_section("Elements");
}

void BinaryReader::elements_4() {
  const std::size_t blocks = checked_count(number("the elements"), 20, "blocks");
  for (int k = 0; k < 3; ++k) number("the elements");
  std::vector<int> ids;
  for (std::size_t b = 0; b < blocks; ++b) {
    const int dimension = take<std::int32_t>("a block of elements");
    const int entity = take<std::int32_t>("a block of elements");
    const int kind = take<std::int32_t>("a block of elements");
    const std::size_t total = checked_count(number("a block of elements"), 16, "elements");
    for (std::size_t i = 0; i < total; ++i) {
      const int element = id(number("an element"), "element");
      ids.clear();
      for (int k = MeshGatherer::nodes_of_type(kind, element, {path_, 0}); k > 0; --k)
        ids.push_back(id(number("an element"), "node"));
      gatherer_.add_element(element, kind, ids, gatherer_.groups_of(dimension, entity), {path_, 0});
    }
  }
  end_section("Elements");
}

Mesh BinaryReader::read() {
  while (at_ < bytes_.size()) {
    const std::string name(text_line());
    if (name.empty()) continue;
    if (name[0] != '$') fail("a section ($...) expected");
    if (name == "$MeshFormat")
      format();
    else if (version_ == 0)
      fail("$MeshFormat has to come first");
    else if (name == "$PhysicalNames")
      physical_names();
    else if (name == "$Entities")
      entities();
    else if (name == "$Nodes")
      version_ == 2 ? nodes_2() : nodes_4();
    else if (name == "$Elements")
      version_ == 2 ? elements_2() : elements_4();
    else
      skip_section(name.substr(1));
  }
  return gatherer_.finish();
}

}  // namespace

Mesh read_binary_msh(const std::string &path) { return BinaryReader(path).read(); }

}  // namespace sbrtranslate
