// A glTF 2.0 binary for Blender, browsers and office programs: the surface as triangles, a morph target and an
// animation for each mode.
//
// glTF 2.0 (Khronos Group, 2021) has single precision, meters, and y upwards.
// Accessors hold the numbers of the record; a node above the mesh scales them to meters and turns z upwards, as
// importers turn it back.
#include "export.h"

#ifndef SBR_HAS_GLTF

namespace sbrtool {

void export_glb(SBR, const std::filesystem::path &) {
  throw Failure(kUsage, "this sbr is built without tinygltf (SBRKIT_GLTF)");
}

}  // namespace sbrtool

#else

#include <cmath>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <limits>
#include <numbers>

#define TINYGLTF_NO_STB_IMAGE
#define TINYGLTF_NO_STB_IMAGE_WRITE
#include <tiny_gltf.h>

#include "exportbody.h"
#include "modefacts.h"
#include "triangulate.h"

namespace sbrtool {
namespace {

// What a motion of weight 1 reaches, as a part of the extent of the body.
constexpr double kReach = 0.1;
constexpr double kPeriod = 2.0;  // seconds that a cycle of an animation takes
constexpr int kKeys = 17;        // key frames of a cycle

using Value = tinygltf::Value;

Value number_or_null(double value) { return std::isfinite(value) ? Value(value) : Value(); }

// The parts of the file that refer to one buffer.
class Scene {
 public:
  Scene() {
    model.buffers.resize(1);
    model.asset.version = "2.0";
    model.asset.generator = "sbr " SBR_PROGRAM_VERSION;
  }

  // An accessor over numbers of single precision. `vectors` have three of them, and the box that the format asks for.
  int floats(const std::vector<float> &values, bool vectors) {
    tinygltf::Accessor accessor;
    accessor.bufferView =
        view(values.data(), values.size() * sizeof(float), vectors ? TINYGLTF_TARGET_ARRAY_BUFFER : 0);
    accessor.componentType = TINYGLTF_COMPONENT_TYPE_FLOAT;
    accessor.type = vectors ? TINYGLTF_TYPE_VEC3 : TINYGLTF_TYPE_SCALAR;
    const std::size_t width = vectors ? 3 : 1;
    accessor.count = values.size() / width;
    accessor.minValues.assign(width, std::numeric_limits<double>::infinity());
    accessor.maxValues.assign(width, -std::numeric_limits<double>::infinity());
    for (std::size_t i = 0; i < values.size(); ++i) {
      accessor.minValues[i % width] = std::min<double>(accessor.minValues[i % width], values[i]);
      accessor.maxValues[i % width] = std::max<double>(accessor.maxValues[i % width], values[i]);
    }
    return add(accessor);
  }
  int indices(const std::vector<int> &values) {
    tinygltf::Accessor accessor;
    accessor.bufferView = view(values.data(), values.size() * sizeof(int), TINYGLTF_TARGET_ELEMENT_ARRAY_BUFFER);
    accessor.componentType = TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT;
    accessor.type = TINYGLTF_TYPE_SCALAR;
    accessor.count = values.size();
    return add(accessor);
  }

  tinygltf::Model model;

 private:
  int add(const tinygltf::Accessor &accessor) {
    model.accessors.push_back(accessor);
    return static_cast<int>(model.accessors.size() - 1);
  }
  int view(const void *data, std::size_t size, int target) {
    std::vector<unsigned char> &bytes = model.buffers[0].data;
    tinygltf::BufferView view;
    view.buffer = 0;
    view.byteOffset = bytes.size();
    view.byteLength = size;
    view.target = target;
    // The file tells its length in 32 bits.
    if (bytes.size() + size > std::numeric_limits<std::uint32_t>::max() - (1U << 26U))
      throw Failure(kUsage,
                    "the body is too large for this format, which ends at 4 GB: 'sbr reduce --coarsen' makes it "
                    "smaller, 'sbr write --lowpass' leaves modes out, --vtu holds it");
    const auto *begin = static_cast<const unsigned char *>(data);
    bytes.insert(bytes.end(), begin, begin + size);
    model.bufferViews.push_back(view);
    return static_cast<int>(model.bufferViews.size() - 1);
  }
};

// ---- modes ---------------------------------------------------------------------------------------------------------

struct Target {
  ModeFacts facts;
  double scale = 1.0;  // what a weight of 1 multiplies the shape by
  int accessor = -1;
};

std::string name_of(const ModeFacts &facts) {
  return "mode " + std::to_string(facts.number) + (std::isfinite(facts.hz) ? " (" + brief(facts.hz) + " Hz)" : "");
}

// The shape so scaled that it shows. A shape with a value that is no number is left out, and that is said.
bool take_shape(Scene &scene, const std::vector<double> &shape, const Geometry &geometry, double extent,
                Target &target) {
  for (std::size_t i = 0; i < shape.size(); ++i) {
    if (std::isfinite(shape[i])) continue;
    std::cerr << "warning: mode " << target.facts.number << " is left out: its shape at node " << geometry.ids[i / 3]
              << " is no finite number\n";
    return false;
  }
  const double largest = largest_length(shape);
  const double scale = (extent > 0.0 ? kReach * extent : 1.0) / largest;
  target.scale = largest > 0.0 && std::isfinite(scale) && scale > 0.0 ? scale : 1.0;
  std::vector<float> moves;
  moves.reserve(shape.size());
  for (const double value : shape) moves.push_back(single(value * target.scale));
  target.accessor = scene.floats(moves, true);
  return true;
}

std::vector<Target> take_shapes(Scene &scene, SBR body, const Geometry &geometry) {
  std::vector<Target> targets;
  const std::vector<int> places = nodes_of_kind(body, geometry, 0);
  if (places.empty() || SBR_ModeExist(body, 0) == 0) return targets;
  const double extent = geometry.extent();
  for (const ModeFacts &facts : facts_of_modes(body)) {
    std::vector<double> shape = part_of_mode(body, facts.number, 0, 0, places, geometry.nodes());
    // A node that the shapes do not have stands still.
    if (places.size() < geometry.ids.size()) {
      std::vector<bool> moves(geometry.ids.size());
      for (const int place : places) moves[static_cast<std::size_t>(place)] = true;
      for (std::size_t i = 0; i < shape.size(); ++i)
        if (!moves[i / 3]) shape[i] = 0.0;
    }
    Target target{facts};
    if (take_shape(scene, shape, geometry, extent, target)) targets.push_back(target);
  }
  return targets;
}

// A cycle of each mode by itself: its weight goes as the sine of the time, the others stay 0.
void add_animations(Scene &scene, const std::vector<Target> &targets, int node) {
  if (targets.empty()) return;
  std::vector<float> times;
  for (int key = 0; key < kKeys; ++key) times.push_back(single(kPeriod * key / (kKeys - 1)));
  const int input = scene.floats(times, false);
  for (std::size_t t = 0; t < targets.size(); ++t) {
    std::vector<float> weights(kKeys * targets.size());
    for (std::size_t key = 0; key < kKeys; ++key)
      weights[key * targets.size() + t] =
          single(std::sin(2.0 * std::numbers::pi * static_cast<double>(key) / (kKeys - 1)));
    tinygltf::Animation animation;
    animation.name = name_of(targets[t].facts);
    tinygltf::AnimationSampler sampler;
    sampler.input = input;
    sampler.output = scene.floats(weights, false);
    animation.samplers.push_back(sampler);
    tinygltf::AnimationChannel channel;
    channel.sampler = 0;
    channel.target_node = node;
    channel.target_path = "weights";
    animation.channels.push_back(channel);
    scene.model.animations.push_back(animation);
  }
}

// ---- mesh ----------------------------------------------------------------------------------------------------------

void add_primitive(Scene &scene, tinygltf::Mesh &mesh, int positions, const std::vector<int> &indices, int mode,
                   const std::vector<Target> &targets) {
  if (indices.empty()) return;
  tinygltf::Primitive primitive;
  primitive.attributes["POSITION"] = positions;
  primitive.indices = scene.indices(indices);
  primitive.material = 0;
  primitive.mode = mode;
  for (const Target &target : targets) primitive.targets.push_back({{"POSITION", target.accessor}});
  mesh.primitives.push_back(primitive);
}

// Triangles, edges that are faces of two corners, and the points of nodes without a face.
tinygltf::Mesh mesh_of(Scene &scene, const Geometry &geometry, const std::vector<Target> &targets, int positions) {
  tinygltf::Mesh mesh;
  std::vector<int> lines;
  std::vector<int> points = geometry.loose;
  for (std::size_t f = 0; f < geometry.faces(); ++f) {
    std::vector<int> &list = geometry.size(f) == 2 ? lines : points;
    if (geometry.size(f) > 2) continue;
    list.insert(list.end(), geometry.corners.begin() + static_cast<std::ptrdiff_t>(geometry.begin(f)),
                geometry.corners.begin() + static_cast<std::ptrdiff_t>(geometry.face_ends[f]));
  }
  add_primitive(scene, mesh, positions, triangles_of(geometry).corners, TINYGLTF_MODE_TRIANGLES, targets);
  add_primitive(scene, mesh, positions, lines, TINYGLTF_MODE_LINE, targets);
  add_primitive(scene, mesh, positions, points, TINYGLTF_MODE_POINTS, targets);
  mesh.name = "body";
  mesh.weights.assign(targets.size(), 0.0);
  Value::Array names;
  for (const Target &target : targets) names.emplace_back(name_of(target.facts));
  if (!names.empty()) mesh.extras = Value(Value::Object{{"targetNames", Value(names)}});
  return mesh;
}

Value extras_of(SBR body, const std::vector<Target> &targets) {
  const UnitLabels units(body);
  Value::Array modes;
  for (const Target &target : targets)
    modes.emplace_back(Value::Object{{"number", Value(target.facts.number)},
                                     {"frequency_hz", number_or_null(target.facts.hz)},
                                     {"eigenvalue", number_or_null(target.facts.eigenvalue)},
                                     {"generalized_mass", number_or_null(target.facts.mass)},
                                     {"scale_of_weight_1", Value(target.scale)}});
  return Value(Value::Object{{"title", Value(title_of(body))},
                             {"units", Value(Value::Object{{"mass", Value(units.mass)},
                                                           {"length", Value(units.length)},
                                                           {"time", Value(units.time)},
                                                           {"force", Value(units.force)}})},
                             {"modes", Value(modes)}});
}

// The node that brings the numbers of the record to meters, and its z axis upwards.
tinygltf::Node root_of(SBR body) {
  tinygltf::Node root;
  root.name = title_of(body);
  const double meters = SBR_Length2Meter(body, 1.0);
  if (meters > 0.0 && std::isfinite(meters) && single(meters) > 0.0F)
    root.scale = {meters, meters, meters};
  else
    std::cerr << "warning: the unit of length is not known: the numbers are taken for meters\n";
  root.rotation = {-std::numbers::sqrt2 / 2.0, 0.0, 0.0, std::numbers::sqrt2 / 2.0};
  root.children = {1};
  return root;
}

tinygltf::Material grey() {
  tinygltf::Material material;
  material.name = "body";
  material.doubleSided = true;
  material.pbrMetallicRoughness.baseColorFactor = {0.6, 0.65, 0.7, 1.0};
  material.pbrMetallicRoughness.metallicFactor = 0.1;
  material.pbrMetallicRoughness.roughnessFactor = 0.6;
  return material;
}

}  // namespace

void export_glb(SBR body, const std::filesystem::path &target) {
  const Geometry geometry = geometry_of(body);
  require_single(geometry);
  Scene scene;
  tinygltf::Model &model = scene.model;
  std::vector<float> places;
  for (const double value : geometry.xyz) places.push_back(single(value));
  const int positions = scene.floats(places, true);
  const std::vector<Target> targets = take_shapes(scene, body, geometry);
  model.materials.push_back(grey());
  model.meshes.push_back(mesh_of(scene, geometry, targets, positions));
  model.nodes.push_back(root_of(body));
  tinygltf::Node node;
  node.mesh = 0;
  node.name = "body";
  model.nodes.push_back(node);
  add_animations(scene, targets, 1);
  tinygltf::Scene shown;
  shown.nodes = {0};
  model.scenes.push_back(shown);
  model.defaultScene = 0;
  model.asset.extras = extras_of(body, targets);
  OutputFile output(target);
  std::ofstream stream(output.path(), std::ios::binary);
  const bool written = tinygltf::TinyGLTF().WriteGltfSceneToStream(&model, stream, false, true);
  stream.close();
  if (!written || !stream) throw Failure(kFailed, target.string() + ": cannot be written");
  output.commit();
}

}  // namespace sbrtool

#endif
