// A small body with data of every kind, built through the setters, and what its blocks hold.
#ifndef SBRKIT_TESTS_SUPPORT_BRACKET_H
#define SBRKIT_TESTS_SUPPORT_BRACKET_H

#include <string>
#include <vector>

#include "sbrkit/sbrkit.h"
#include "support/record_builder.h"

namespace sbrtest {

// Three nodes 10, 20, 35; two modes 1, 2 with unit masses and stiffnesses 100 and 400 (10 and 20 rad/s); stress at 20
// and 35, strain at 10 and 35.
SBR build_bracket();

// The six values per node of its modes: shapes, stresses, strains, and the pre-vectors.
extern const std::vector<double> kBracketShape1;
extern const std::vector<double> kBracketShape2;
extern const std::vector<double> kBracketStress;     // nodes 20, 35; the same in both modes
extern const std::vector<double> kBracketStrain;     // nodes 10, 35
extern const std::vector<double> kBracketPreStress;  // nodes 20, 35
extern const std::vector<double> kBracketPreStrain;  // nodes 10, 35

// The record that a write of the bracket makes in the layout of a word without orthonormalization, and with the dates
// of the body. Lists of stress and strain name every node in the layouts of the codes 40 to 51.
RecordBuilder expected_bracket(SBR body, std::uint32_t word);

// Writes a body to a file under the given options; the result of the write.
int write_record(SBR body, const std::string &path, const char *options);

}  // namespace sbrtest

#endif
