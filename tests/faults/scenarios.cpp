#include <ctime>
#include <filesystem>

#include "faults/scenario.h"
#include "support/bracket.h"
#include "support/mass_body.h"
#include "support/meshes.h"
#include "support/modal_body.h"
#include "support/record_builder.h"

namespace sbrtest::faults {
namespace {

constexpr std::uint32_t kNative = 0x3C;
constexpr std::uint32_t kXdr = 0x13C;
constexpr std::uint32_t kSingle = 0x33C;
constexpr std::uint32_t kOld = 31;

std::string record_name(std::uint32_t word) { return "record_" + std::to_string(word); }

SBR open(const Place &place, const std::string &name) { return SBR_CreateFromSBR(place.input(name).c_str()); }

// ---- bodies to begin with ------------------------------------------------------------------------------------------

SBR full_body(const Place &place) { return open(place, record_name(kXdr)); }
SBR bracket(const Place &) { return build_bracket(); }

// Three modes that are not orthogonal, with what goes along when they become so.
SBR coupled_body(const Place &) {
  SBR body = make_modal_body(3, 3, {0, 1});
  set_full_mass(body, {4, 1, 0, 1, 5, 1, 0, 1, 6}, 3);
  set_full_stiffness(body, {10, 1, 2, 1, 20, 3, 2, 3, 30}, 3);
  const double location[3] = {0, 0, 0};
  const double row[3] = {1, 2, 3};
  for (int m = 1; m <= 3; ++m) {
    SBR_SetModalLoad(body, 0, m, m);
    SBR_SetModalPreload(body, m, m);
    SBR_SetNodalMass(body, m, m);
  }
  SBR_SetMonitorPointInfo(body, 1, 1, 1, 1, location, "P", "L");
  SBR_SetMonitorPointOperator(body, 0, 1, row);
  return body;
}

SBR heavy_body(const Place &) { return random_mass_body(41, 5, 3).build(); }
// A body of a surface with one mode, since no record is written without.
SBR body_of(const Surface &surface) {
  SBR body = make_body(surface);
  const double six[] = {1, 2, 3, 4, 5, 6};
  for (int i = 0; i < static_cast<int>(surface.points.size()); ++i) SBR_SetModeVec(body, 1, mesh_id(i), 0, six);
  SBR_SetGeneralizedMass(body, 1, 1, 1);
  SBR_SetGeneralizedStiffness(body, 1, 1, 100);
  return body;
}
SBR grid_body(const Place &) { return body_of(flat_grid(4, 4)); }
SBR bricks_body(const Place &) { return body_of(brick_block(2, 1, 1)); }

// ---- reading -------------------------------------------------------------------------------------------------------

Scenario opening(const std::string &what, std::uint32_t word) {
  return {"open " + what, nullptr, [word](Run &run, SBR) {
            SBR body = open(run.place, record_name(word));
            // A file that cannot be opened, and a handle that there is no memory for, give null alone; what is said
            // about the reading itself is looked at where a stream is read.
            if (body == nullptr) run.complain("null");
            run.item("open", body != nullptr);
            return body;
          }};
}

SBR open_surface(Run &run, SBR) {
  SBR body = SBR_CreateFromSBR_SurfaceMesh(run.place.input("bricks").c_str());
  if (body == nullptr) run.complain("null");
  run.item("open the surface", body != nullptr);
  return body;
}

SBR read_stream(Run &run, SBR body, std::uint32_t word) {
  std::FILE *stream = std::fopen(run.place.input(record_name(word)).c_str(), "rb");
  if (stream == nullptr) {
    run.complain("no stream");
    run.item("read", false);
    SBR_Destroy(body);
    return nullptr;
  }
  if (run.item("read", SBR_ReadSBR(body, stream, "a stream") == 1)) return body;
  SBR_Destroy(body);  // a body that was not read is good for nothing else
  return nullptr;
}

Scenario reading(const std::string &what, std::uint32_t word) {
  return {"read " + what, [](const Place &) { return SBR_Create(0, 0); },
          [word](Run &run, SBR body) { return read_stream(run, body, word); }};
}

// Names of their own, since a body is shared by the name of its file.
SBR share(Run &run, SBR) {
  SBR first = open(run.place, record_name(kNative));
  if (first == nullptr) run.complain("null");
  if (!run.item("open", first != nullptr)) return first;
  SBR second = open(run.place, record_name(kNative));
  run.item("open again", second == first);
  SBR_DeReference(second);
  run.item("still there", SBR_IsValid(first) == 1);
  return first;
}

template <void (*kLook)(Run &, SBR)>
Scenario looking(const std::string &what, std::function<SBR(const Place &)> make) {
  return {"look at " + what, std::move(make),
          [](Run &run, SBR body) {
            kLook(run, body);
            return body;
          },
          true};
}

SBR read_matrices_again(Run &run, SBR body) {
  run.item("stiffness", SBR_ReadGeneralizedStiffness(body) == 1);
  run.item("mass", SBR_ReadGeneralizedMass(body) == 1);
  run.item("damping", SBR_ReadGeneralizedDamping(body) == 1);
  return body;
}

SBR report(Run &run, SBR body) {
  std::FILE *out = std::fopen(run.place.output().c_str(), "wb");
  if (out == nullptr) {
    run.complain("no file");
    run.item("block 1", false);
    return body;
  }
  for (int block = 1; block <= 36; ++block) {
    SBR_Contents(body, block, out);
    if (std::ferror(out) != 0) run.complain("not written");
    run.item("block " + std::to_string(block), true);
  }
  const bool closed = std::fclose(out) == 0;
  if (!closed) run.complain("not closed");
  run.item("close", closed);
  if (!run.items.back().good) std::remove(run.place.output().c_str());
  return body;
}

// ---- building ------------------------------------------------------------------------------------------------------

// A write that fails is told by the result alone.
bool set_mode(Run &run, SBR body, int mode, int id, int kind) {
  const bool good = SBR_SetMode(body, mode, id, kind, mode, id, 3, 4, 5, 6) == 1;
  if (!good) run.complain("not set");
  return good;
}

SBR build(Run &run, SBR) {
  SBR body = SBR_Create(2, 2);
  if (body == nullptr) run.complain("no body");  // which SBR_Create says by null alone
  if (!run.item("create", body != nullptr)) return nullptr;
  char texts[3][8] = {"title", "name", "type"};
  SBR_SetHeader(body, texts[0], texts[1], texts[2], nullptr, nullptr, nullptr);
  for (const int id : {1, 2, 3}) run.item("coordinates", SBR_SetNodeCoordinates(body, id, id, 2, 3) != 0);
  const int face[] = {1, 2, 3};
  run.item("face", SBR_SetFaceList(body, 3, face) == 1);
  run.item("mass", SBR_SetNodalMass(body, 1, 2.0) == 1);
  run.item("inertia", SBR_SetNodalInertia(body, 1, 1, 2, 3, 0, 0, 0) == 1);
  run.item("interface node", SBR_SetInterfaceNode(body, 2) != 0);
  for (const int kind : {0, 1, 2})
    for (const int mode : {1, 2})
      for (const int id : {1, 2, 3}) run.item("mode", set_mode(run, body, mode, id, kind));
  run.item("pre-stress", SBR_SetMode(body, 0, 1, 1, 1, 2, 3, 4, 5, 6) == 1);
  for (const int mode : {1, 2}) {
    run.item("stiffness", SBR_SetGeneralizedStiffness(body, mode, mode, 100.0 * mode) == 1);
    run.item("mass entry", SBR_SetGeneralizedMass(body, mode, mode, 1.0) == 1);
    run.item("damping", SBR_SetGeneralizedDamping(body, mode, mode, 0.5) == 1);
    run.item("load", SBR_SetModalLoad(body, 0, mode, 1.0) == 1);
    run.item("preload", SBR_SetModalPreload(body, mode, 1.0) == 1);
  }
  run.item("label", SBR_SetModalLoadLabel(body, 0, "a case") == 1);
  run.item("nodal load", SBR_SetModalLoadNodal(body, 0, 1, 1, 1.0) == 1);
  const double six[] = {1, 2, 3, 4, 5, 6};
  run.item("monitor point", SBR_SetMonitorPointInfo(body, 1, 1, 1, 1, six, "P", "L") == 0);
  run.item("its operator", SBR_SetMonitorPointOperator(body, 0, 1, six) == 0);
  const char *labels[] = {"row"};
  run.item("matrix operator", SBR_SetMatrixOperatorInfo(body, "OP", labels, 1) == 0);
  run.item("its columns", SBR_SetMatrixOperatorData(body, 0, "TAG", 2, six) == 0);
  return body;
}

// ---- changing ------------------------------------------------------------------------------------------------------

SBR orthonormalize(Run &run, SBR body) {
  run.item("orthonormalize", SBR_OrthoNormalize(body) == 1);
  return body;
}

SBR full_invariants(Run &run, SBR body) {
  SBR_FullComputeInvars(body);
  run.item("full invariants", true);
  look_at_invariants(run, body);
  return body;
}

SBR fast_invariants(Run &run, SBR body) {
  SBR_FastComputeInvars(body);
  run.item("fast invariants", true);
  const double mass = SBR_Invar1(body);
  run.item("invariant 1", mass > 0.0, mass);
  run.array("invariant 3", SBR_Invar3(body), 3 * SBR_ModeCount(body));
  run.array("invariant 8", SBR_Invar8(body, 0), 9);
  return body;
}

SBR move_about(Run &run, SBR body) {
  const double axis[] = {1, 1, 1};
  const double point[] = {1, 0, 0};
  run.item("translate", SBR_Translate(body, axis, 2.0) == 1);
  run.item("rotate", SBR_Rotate(body, axis, point, 30.0) == 1);
  run.item("mirror", SBR_Mirror(body, axis, point) == 1);
  return body;
}

SBR renumber(Run &run, SBR body) {
  run.item("renumber", SBR_RenumberNodes(body, 1000) == 1);
  SBR_ShiftLBRFtoCM(body);
  run.item("to the center of mass", true);
  run.item("units", SBR_SetUnits(body, "GRAM", "MILLIMETER", "SECOND", "NEWTON") == 1);
  return body;
}

SBR transform_modes(Run &run, SBR body) {
  const double turn[] = {0, 1, 1, 0};
  run.item("transform modes", SBR_TransformModes(body, 0, 2, turn) == 1);
  return body;
}

SBR coarsen(Run &run, SBR body) {
  SBR_TrimGeometry(body, "0.3,10,1,10");
  run.item("coarsen", true);
  return body;
}

SBR strip(Run &run, SBR body) {
  SBR_StripCommonFaces(body);
  run.item("strip", true);
  return body;
}

SBR sketch(Run &run, SBR body) {
  SBR_SketchGrid(body, run.place.input("sketch").c_str());
  run.item("sketch", true);
  return body;
}

SBR discard(Run &run, SBR body) {
  run.item("discard", SBR_DiscardUnreferencedNodes(body) == 1);
  return body;
}

// ---- writing -------------------------------------------------------------------------------------------------------

Scenario writing(const std::string &what, const std::string &options, std::function<SBR(const Place &)> make) {
  return {"write " + what, std::move(make), [options](Run &run, SBR body) {
            run.item("write", write_record(body, run.place.output(), options.c_str()) == 1);
            return body;
          }};
}

#ifdef SBRKIT_STORE_DIRECTORY

std::string master(const Place &place) { return place.outputs.file("wing.MASTER"); }

SBR store_body(Run &run, SBR body) {
  run.item("store", SBR_write_DB(body, master(run.place).c_str(), "selabel='wing'") == 1);
  DB_TermWrite();
  CDB_UnloadLibrary();
  return body;
}

SBR fetch_body(Run &run, SBR) {
  const std::string stored = run.place.input("stored.MASTER");
  if (run.item("bind", CDB_LoadLibrary() == 1) && run.item("start", DB_StartBase() == 1)) {
    run.item("count", DB_BodyBrowser(stored.c_str(), 0, nullptr) == 1);
    const db_block block{DB_OpenDatablk(stored.c_str(), 1, nullptr), {0, 0}};
    int values[2] = {0, 0};
    run.item("open", block.unit > 0);
    run.item("read", block.unit > 0 && DB_ReadINTs(block, values, 2) == 1, values[0], values[1]);
    DB_CloseDatablk(block.unit);
    run.item("end", DB_TermBase() == 1);
  }
  DB_TermBase();
  CDB_UnloadLibrary();
  return nullptr;
}

#endif

}  // namespace

// The clock stands, so that two records of the same body are the same.
extern "C" std::time_t time(std::time_t *at) noexcept {
  constexpr std::time_t kNow = 1700000000;
  if (at != nullptr) *at = kNow;
  return kNow;
}

void make_inputs(const Place &place) {
  for (const std::uint32_t word : {kNative, kXdr, kSingle, kOld})
    full_record(word).write(place.input(record_name(word)));
  write_record(bricks_body(place), place.input("bricks"), "no_ortho no_xdr");
  write_record(coupled_body(place), place.input("invariants"), "full_invar no_xdr");
#ifdef SBRKIT_STORE_DIRECTORY
  std::filesystem::current_path(place.temporary.path());
  SBR_write_DB(build_bracket(), place.input("stored.MASTER").c_str(), "selabel='wing'");
  CDB_UnloadLibrary();
#endif
  SBR_Terminate();
  std::string text = "200\n";
  for (int i = 0; i < 200; ++i) text += "3 10 20 40\n";
  write_file(place.input("sketch"), text);
}

std::vector<Scenario> library_scenarios() {
  std::vector<Scenario> all = {
      opening("a native record", kNative),
      opening("an XDR record", kXdr),
      opening("a single-precision record", kSingle),
      opening("an old record", kOld),
      {"open a surface", nullptr, open_surface},
      {"share a record", nullptr, share},
      reading("a native stream", kNative),
      reading("an XDR stream", kXdr),
      reading("a single-precision stream", kSingle),
      reading("an old stream", kOld),
      looking<look_at_geometry>("geometry", full_body),
      looking<look_at_modes>("modes", full_body),
      looking<look_at_modes>("modes under construction", bracket),
      looking<look_at_matrices>("matrices", full_body),
      looking<look_at_loads>("loads", full_body),
      looking<look_at_operators>("operators", full_body),
      looking<look_at_statistics>("statistics", bracket),
      looking<look_at_invariants>("stored invariants", [](const Place &place) { return open(place, "invariants"); }),
      {"read matrices again", full_body, read_matrices_again},
      {"report", full_body, report},
      {"build", nullptr, build},
      {"orthonormalize", coupled_body, orthonormalize, false, true},
      {"full invariants", heavy_body, full_invariants},
      {"fast invariants", heavy_body, fast_invariants},
      {"move", heavy_body, move_about},
      {"renumber", bracket, renumber},
      {"transform modes", full_body, transform_modes, false, true},
      {"coarsen", grid_body, coarsen},
      {"strip", bricks_body, strip},
      {"sketch", grid_body, sketch},
      {"discard", bracket, discard},
      writing("native", "no_ortho no_xdr", bracket),
      writing("XDR", "no_ortho", bracket),
      writing("single precision", "no_ortho single sparse_str", bracket),
      writing("full stress", "no_ortho full_str", bracket),
      writing("8.2 layout", "82_comp", bracket),
      writing("8.1 layout", "81_comp", bracket),
      writing("orthonormal modes and invariants", "full_invar MKS lbrf2cm", coupled_body),
      writing("a reduced surface", "no_ortho strip_face coarsen(0.3,10,1)", grid_body),
      writing("what was read", "no_ortho no_xdr", full_body),
  };
#ifdef SBRKIT_STORE_DIRECTORY
  all.push_back({"store in a database", bracket, store_body});
  all.push_back({"fetch from a database", nullptr, fetch_body, true});
#endif
  return all;
}

}  // namespace sbrtest::faults
