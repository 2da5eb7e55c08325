// The write options, each described once: the keyword that is looked for, what stands behind it, where it goes, what it
// contradicts, and the flag by which the program asks for it. The library's parser and its report of contradictions,
// the program's flags and its check of names, and the test of docs/write-options.md walk these tables.
//
// This is the one internal header that the program may include: it needs the standard library only, and knows nothing
// of bodies.
#ifndef SBRKIT_WRITE_OPTION_TABLE_H
#define SBRKIT_WRITE_OPTION_TABLE_H

#include <array>
#include <string_view>

namespace sbr {

// The environment variable whose text holds the options of a write.
inline constexpr const char *kWriteOptionsVariable = "KTX_SBRWRITE_OPTIONS";

// What the keywords without a value ask for.
struct WriteFlags {
  bool shift_to_cm = false;
  bool strip_faces = false;
  bool sparse_stress = false;
  bool full_stress = false;
  bool no_ortho = false;
  bool single = false;
  bool no_xdr = false;
  bool layout_82 = false;
  bool layout_81 = false;
  bool any_invariants = false;  // also set by the other two, whose keywords contain its own
  bool full_invariants = false;
  bool fast_invariants = false;
  bool empty = false;
  bool mks = false;
  bool drop_load_nodes = false;
};

// What stands in brackets behind a keyword.
enum class OptionValue {
  none,        // nothing, and no brackets
  sketch,      // the name of a file
  coarsening,  // a list of numbers and one word
  lowpass,     // a frequency in Hz
  highpass,    // a frequency in Hz
};

struct WriteOption {
  std::string_view keyword;  // without the bracket of its value
  OptionValue value;
  bool WriteFlags::*member;     // what a keyword without a value sets
  std::string_view flag;        // the flag of the program; empty when it has none
  std::string_view choice;      // the value of that flag which stands for this keyword; empty for a flag of its own
  std::string_view value_name;  // of the flag's value in its help; empty when the flag takes none
  std::string_view help;        // of the flag; stands with its first choice

  // True when the text makes the option take effect. A value's bracket belongs to its keyword.
  [[nodiscard]] constexpr bool is_in(std::string_view text) const {
    for (std::size_t at = text.find(keyword); at != std::string_view::npos; at = text.find(keyword, at + 1))
      if (value == OptionValue::none || text.substr(at + keyword.size()).starts_with('(')) return true;
    return false;
  }
};

inline constexpr std::array<WriteOption, 19> kWriteOptions{{
    {"lbrf2cm", OptionValue::none, &WriteFlags::shift_to_cm, "--shift-to-cm", "", "",
     "Move the reference frame to the centre of mass"},
    {"sketch", OptionValue::sketch, nullptr, "--sketch", "", "SKETCH", "Replace the faces by those of a sketch file"},
    {"strip_face", OptionValue::none, &WriteFlags::strip_faces, "--strip-faces", "", "",
     "Remove faces that two elements share"},
    {"coarsen", OptionValue::coarsening, nullptr, "--coarsen", "", "RES,ANGLE[,COLINEAR[,ID,...][,preserve_str]]",
     "Fuse small flat faces: RES a fraction of the extent, ANGLE in degrees, COLINEAR 1 to remove vertices on "
     "straight edges; the nodes of the IDs stay, with preserve_str those with stress too"},
    {"sparse_str", OptionValue::none, &WriteFlags::sparse_stress, "--sparse-stress", "", "",
     "Keep only nodes with stress or strain other than zero"},
    {"full_str", OptionValue::none, &WriteFlags::full_stress, "--full-stress", "", "",
     "Stress and strain at all nodes (layout 4.1)"},
    {"no_ortho", OptionValue::none, &WriteFlags::no_ortho, "--no-ortho", "", "",
     "Leave the modes as they are; store generalized mass and stiffness"},
    {"lowpass", OptionValue::lowpass, nullptr, "--lowpass", "", "HZ", "Drop modes above this frequency"},
    {"highpass", OptionValue::highpass, nullptr, "--highpass", "", "HZ", "Drop modes up to this frequency"},
    {"invar", OptionValue::none, &WriteFlags::any_invariants, "", "", "{full,fast}", ""},
    {"full_invar", OptionValue::none, &WriteFlags::full_invariants, "--invariants", "full", "{full,fast}",
     "Compute and store inertia invariants: all, or without 5 and 9 (fast)"},
    {"fast_invar", OptionValue::none, &WriteFlags::fast_invariants, "--invariants", "fast", "{full,fast}", ""},
    {"empty", OptionValue::none, &WriteFlags::empty, "--empty", "", "", "Geometry and mass only, no modes"},
    {"MKS", OptionValue::none, &WriteFlags::mks, "--mks", "", "", "Convert to kilogram, meter, second, newton"},
    {"single", OptionValue::none, &WriteFlags::single, "--single", "", "", "Single-precision reals"},
    {"no_xdr", OptionValue::none, &WriteFlags::no_xdr, "--no-xdr", "", "", "Native instead of XDR encoding"},
    {"82_comp", OptionValue::none, &WriteFlags::layout_82, "--layout", "82", "",
     "An old layout, of version 8.1 or 8.2"},
    {"81_comp", OptionValue::none, &WriteFlags::layout_81, "--layout", "81", "", ""},
    {"optimize_mforce_nodes", OptionValue::none, &WriteFlags::drop_load_nodes, "", "", "", ""},
}};

// A pair of options of which the first fails the write when the second is there too.
struct WriteContradiction {
  bool WriteFlags::*option;
  bool WriteFlags::*other;
  const char *message;
};

// In the order in which they are reported.
inline constexpr std::array<WriteContradiction, 7> kWriteContradictions{{
    {&WriteFlags::full_stress, &WriteFlags::sparse_stress, "Cannot specify full and sparse stress and strain modes."},
    {&WriteFlags::layout_82, &WriteFlags::any_invariants, "8.2 compatible SBR cannot contain Invariants"},
    {&WriteFlags::layout_82, &WriteFlags::single, "8.2 compatible SBR cannot be single precision"},
    {&WriteFlags::layout_82, &WriteFlags::sparse_stress,
     "8.2 compatible SBR cannot have sparse stress or strain modes"},
    {&WriteFlags::layout_81, &WriteFlags::any_invariants, "8.1 compatible SBR cannot contain Invariants"},
    {&WriteFlags::layout_81, &WriteFlags::single, "8.1 compatible SBR cannot be single precision"},
    {&WriteFlags::layout_81, &WriteFlags::sparse_stress,
     "8.1 compatible SBR cannot have sparse stress or strain modes"},
}};

}  // namespace sbr

#endif
