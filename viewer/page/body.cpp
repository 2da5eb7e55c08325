#include "body.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "encode.h"
#include "fields.h"
#include "monitor.h"
#include "surface.h"

namespace sbrview {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char *kKindNames[] = {"shape", "stress", "strain"};

// JSON has no word for what is not finite.
Json finite(double value) { return std::isfinite(value) ? Json(value) : Json(nullptr); }

template <class Values>
Json list_of(const Values &values) {
  Json list = Json::array();
  for (const double value : values) list.push_back(finite(value));
  return list;
}

// The multiplier on SI of the label of mass, length, time or force. The library's tables of labels are not public: a
// body of its own is asked, in SI but for this label.
Json multiplier(std::size_t quantity, const std::string &label) {
  using Ask = double (*)(SBR, double);
  static constexpr Ask kAsk[] = {SBR_Mass2Kilogram, SBR_Length2Meter, SBR_Time2Second, SBR_Force2Newton};
  const std::unique_ptr<SbrBody, void (*)(SBR)> body(SBR_Create(1, 1), SBR_DeReference);
  if (!body) throw std::bad_alloc();
  std::array<const char *, 4> labels = {"KILOGRAM", "METER", "SECOND", "NEWTON"};
  if (!label.empty()) labels[quantity] = label.c_str();
  if (SBR_SetUnits(body.get(), labels[0], labels[1], labels[2], labels[3]) == 0) return nullptr;
  const double value = kAsk[quantity](body.get(), 1.0);
  return std::isfinite(value) && value > 0.0 ? Json(value) : Json(nullptr);
}

class Writer {
 public:
  Writer(const ShownBody &shown, const Request &request, std::string prefix, const Sink &sink, Shown &outcome)
      : shown_(shown),
        body_(shown.body),
        request_(request),
        prefix_(std::move(prefix)),
        sink_(sink),
        outcome_(outcome) {}

  Json write() {
    monitored_ = monitored_nodes(body_);
    surface_ = surface_of(body_, request_.most_nodes, monitored_);
    outcome_.notes = surface_.notes;
    outcome_.nodes = static_cast<int>(surface_.nodes.size());
    outcome_.faces = surface_.face_count;
    Json all = {{"file", readable(shown_.file)}};
    describe_header(all);
    all["units"] = units();
    describe_geometry(all);
    describe_mass(all);
    describe_marks(all);
    all["rigidModes"] = SBR_ModeCount(body_) > 0 ? SBR_RigidBodyModeCount(body_) : 0;
    all["modes"] = modes();
    all["kinds"] = kinds_;
    Json notes = Json::array();
    for (const std::string &note : outcome_.notes) notes.push_back(note);
    all["notes"] = notes;
    return all;
  }

 private:
  // Writes a section and gives its name.
  std::string section(const std::string &name, const Bytes &bytes) {
    const std::string full = prefix_ + name;
    sink_("<script type=\"text/plain\" data-sbr=\"" + full + "\">");
    sink_(packed(bytes));
    sink_("</script>\n");
    return full;
  }

  void describe_header(Json &all) {
    char title[129] = {};
    char date[33] = {};
    char input[129] = {};
    char type[17] = {};
    char comments[3][81] = {};
    SBR_Header(body_, title, date, input, type, comments[0], comments[1], comments[2]);
    all["title"] = readable(title);
    all["date"] = readable(date);
    all["inputFile"] = readable(input);
    all["inputType"] = readable(type);
    all["comments"] = Json::array();
    for (const char *comment : comments)
      if (*comment != '\0') all["comments"].push_back(readable(comment));
    all["version"] = SBR_Version(body_);
  }

  Json units() {
    char labels[4][17] = {};
    SBR_Units(body_, labels[0], labels[1], labels[2], labels[3]);
    return describe_units({labels[0], labels[1], labels[2], labels[3]});
  }

  void describe_geometry(Json &all) {
    const std::size_t count = surface_.nodes.size();
    std::vector<std::int32_t> ids(count);
    std::vector<float> places(3 * count);
    std::vector<float> masses(count);
    bool any_mass = false;
    double heaviest = 0.0;
    std::vector<double> exact(count);
    for (std::size_t i = 0; i < count; ++i) {
      double xyz[3] = {};
      SBR_NodalMassAndGeometry(body_, surface_.nodes[i], &exact[i], xyz);
      ids[i] = SBR_NodeID(body_, surface_.nodes[i]);
      for (std::size_t c = 0; c < 3; ++c)
        places[c * count + i] = static_cast<float>((xyz[c] - surface_.center[c]) / surface_.half_size);
      any_mass = any_mass || exact[i] != 0.0;
      if (std::isfinite(exact[i])) heaviest = std::max(heaviest, std::fabs(exact[i]));
    }
    Json &g = all["geometry"];
    g = {{"nodes", count},
         {"allNodes", SBR_NodeCount(body_)},
         {"faces", surface_.face_count},
         {"innerFaces", surface_.inner_faces},
         {"coarsened", surface_.coarsened},
         {"surfaceNodes", surface_.surface_nodes},
         {"center", list_of(surface_.center)},
         {"halfSize", surface_.half_size},
         {"hasExtent", surface_.has_extent},
         {"ids", section("ids", planes_of(ids))},
         {"places", section("places", planes_of(places))},
         {"faceWords", surface_.faces.size()},
         {"faceList", section("faces", planes_of(surface_.faces))}};
    if (!any_mass) return;
    // Relative to the heaviest, so that no mass is too small for a float.
    for (std::size_t i = 0; i < count; ++i)
      masses[i] = static_cast<float>(heaviest > 0.0 ? exact[i] / heaviest : exact[i]);
    g["masses"] = section("masses", planes_of(masses));
    g["heaviest"] = heaviest;
  }

  void describe_mass(Json &all) {
    all["mass"] = nullptr;
    if (!shown_.mass) return;
    const MassProperties &m = *shown_.mass;
    Json axes = Json::array();
    for (const auto &axis : m.axes) axes.push_back(list_of(axis));
    all["mass"] = {{"mass", finite(m.mass)},
                   {"center", list_of(m.center)},
                   {"moments", list_of(m.moments)},
                   {"axes", axes},
                   {"source", m.source}};
  }

  void describe_marks(Json &all) {
    Json places = Json::array();
    int count = 0;
    int *indices = SBR_InterfaceNodes(body_, &count);
    for (int i = 0; i < count && indices != nullptr; ++i)
      if (indices[i] >= 0 && static_cast<std::size_t>(indices[i]) < surface_.place.size())
        if (const std::int32_t place = surface_.place[static_cast<std::size_t>(indices[i])]; place >= 0)
          places.push_back(place);
    SBR_FreeMemory(indices);
    all["interfaceNodes"] = places;
    Json points = Json::array();
    for (int i = 0; i < SBR_GetMonitorPointCount(body_); ++i) {
      std::array<double, 3> at{};
      char name[9] = {};
      char label[57] = {};
      SBR_GetMonitorPointLocation(body_, i, at.data());
      SBR_GetMonitorPointNameLabel(body_, i, name, label);
      points.push_back({{"name", readable(name)},
                        {"label", readable(label)},
                        {"resultType", SBR_GetMonitorPointResultType(body_, i)},
                        {"component", SBR_GetMonitorPointComponent(body_, i)},
                        {"at", list_of(at)}});
      const std::int32_t node = monitored_[static_cast<std::size_t>(i)];
      if (node >= 0 && surface_.place[static_cast<std::size_t>(node)] >= 0)
        points.back()["node"] = surface_.place[static_cast<std::size_t>(node)];
    }
    all["monitorPoints"] = points;
  }

  // ---- modes

  Json modes() {
    const int count = std::max(SBR_ModeCount(body_), 0);
    const auto nodes = static_cast<std::int64_t>(std::max<std::size_t>(surface_.nodes.size(), 1));
    const auto shown = static_cast<int>(std::clamp<std::int64_t>(request_.most_values / nodes, 1, std::max(count, 1)));
    outcome_.modes = std::min(count, shown);
    if (shown < count)
      outcome_.notes.push_back("The first " + std::to_string(shown) + " of " + std::to_string(count) +
                               " modes are shown.");
    prepare_kinds();
    Json list = Json::array();
    for (int m = 0; m < outcome_.modes; ++m) list.push_back(mode(m));
    if (not_numbers_ > 0)
      outcome_.notes.push_back(
          std::to_string(not_numbers_) + (not_numbers_ == 1 ? " value" : " values") +
          " of the modes at shown nodes are no numbers: they count as no motion and have no color.");
    return list;
  }

  // Rotations are zeros in most bodies: the first modes tell.
  bool has_rotations() {
    for (int m = 0; m < std::min(outcome_.modes, 8); ++m) {
      int id = 0;
      double most = 0.0;
      if (SBR_GetMaxModeRotation(body_, SBR_ModeNumber(body_, m), &id, &most) != 0 && most != 0.0) return true;
    }
    return false;
  }

  void prepare_kinds() {
    for (int kind = 0; kind < 3; ++kind)
      if (SBR_ModeExist(body_, kind) != 0) kind_nodes_[kind] = nodes_of_kind(body_, surface_, kind);
    const auto rows = [&](int kind) { return static_cast<std::int64_t>(kind_nodes_[kind].places.size()); };
    const bool shapes = rows(0) > 0;
    const std::int64_t vectors = 3 * rows(0) * outcome_.modes;
    const Steps steps =
        choose_steps(vectors, shapes && has_rotations() ? vectors : 0, 6 * (rows(1) + rows(2)) * outcome_.modes);
    most_[0] = {steps.translations, steps.others};
    most_[1] = most_[2] = {steps.others, steps.others};
    for (int kind = 0; kind < 3; ++kind) {
      if (kind_nodes_[kind].places.empty()) continue;
      Json &about = kinds_[kKindNames[kind]];
      about = {{"nodes", kind_nodes_[kind].places.size()}, {"steps", most_[kind]}};
      if (!kind_nodes_[kind].all)
        about["places"] = section(std::string(kKindNames[kind]) + "Nodes", planes_of(kind_nodes_[kind].places));
    }
  }

  Json mode(int index) {
    const int number = SBR_ModeNumber(body_, index);
    double v[5] = {NAN, NAN, NAN, NAN, NAN};
    if (SBR_Eigenvalue(body_, number, v, v + 1, v + 2, v + 3, v + 4) == 0) std::fill(v, v + 5, NAN);
    Json mode = {{"number", number},        {"eigenvalue", finite(v[0])},      {"frequency", finite(v[1])},
                 {"angular", finite(v[2])}, {"generalizedMass", finite(v[3])}, {"generalizedStiffness", finite(v[4])}};
    for (int kind = 0; kind < 3; ++kind) {
      // Number 0 asks for the pre-stress or pre-strain, which belong to no mode.
      if (kind > 0 && number == 0) continue;
      if (!kinds_.contains(kKindNames[kind])) continue;
      Field field;
      if (!read_field(body_, number, kind, kind_nodes_[kind], most_[kind], field)) continue;
      mode[kKindNames[kind]] = describe(index, kind, field);
    }
    mode["statistics"] = statistics(number);
    return mode;
  }

  Json describe(int index, int kind, const Field &field) {
    not_numbers_ += field.not_numbers;
    const std::size_t rows = kind_nodes_[kind].places.size();
    Json about = {{"scale", list_of(field.scale)},
                  {"kept", {field.kept[0], field.kept[1]}},
                  {"low", list_of(field.low)},
                  {"high", list_of(field.high)},
                  {"largest", finite(field.largest)}};
    if (kind == 0) about["largestRotation"] = finite(field.largest_rotation);
    about["section"] = section("mode" + std::to_string(index) + "." + kKindNames[kind], planes_of(field.steps, rows));
    return about;
  }

  Json statistics(int number) {
    using Ask = int (*)(SBR, int, int *, double *);
    struct Figure {
      const char *name;
      int kind;
      Ask ask;
    };
    Json figures = Json::object();
    for (const Figure &figure :
         {Figure{"displacement", 0, SBR_GetMaxModeDisplacement}, Figure{"rotation", 0, SBR_GetMaxModeRotation},
          Figure{"stress", 1, SBR_GetMaxVonMisesStress}, Figure{"strain", 2, SBR_GetMaxVonMisesStrain}}) {
      int id = 0;
      double value = 0.0;
      if (SBR_ModeExist(body_, figure.kind) == 0 || SBR_ModeNodeCount(body_, figure.kind) < 1) continue;
      if (figure.ask(body_, number, &id, &value) != 0 && std::isfinite(value))
        figures[figure.name] = {{"node", id}, {"value", value}};
    }
    return figures;
  }

  const ShownBody &shown_;
  SBR body_;
  const Request &request_;
  std::string prefix_;
  const Sink &sink_;
  Shown &outcome_;
  std::vector<std::int32_t> monitored_;
  Surface surface_;
  KindNodes kind_nodes_[3];
  std::array<int, 2> most_[3] = {};
  Json kinds_ = Json::object();
  std::int64_t not_numbers_ = 0;
};

}  // namespace

nlohmann::ordered_json describe_units(const std::array<std::string, 4> &labels) {
  Json names = Json::array();
  Json multipliers = Json::array();
  for (std::size_t i = 0; i < 4; ++i) {
    names.push_back(readable(labels[i]));
    multipliers.push_back(multiplier(i, labels[i]));
  }
  return {{"labels", names}, {"multipliers", multipliers}};
}

nlohmann::ordered_json write_body(const ShownBody &shown, const Request &request, const std::string &prefix,
                                  const Sink &sink, Shown &outcome) {
  return Writer(shown, request, prefix, sink, outcome).write();
}

}  // namespace sbrview
