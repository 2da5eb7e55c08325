#include "calculix/cards.h"

#include <algorithm>
#include <iterator>

namespace sbrtranslate {
namespace {

constexpr auto kRead = CardRole::read;
constexpr auto kResults = CardRole::results;
constexpr auto kPassed = CardRole::passed;
constexpr auto kRefused = CardRole::refused;

constexpr std::string_view kOtherModes = "its modes are not vibration modes of the body";
constexpr std::string_view kOtherStep = "results of such a step are passed over";
constexpr std::string_view kMaterial = "stiffness is in the results";
constexpr std::string_view kFlow = "flow and heat are not part of a flexible body";
constexpr std::string_view kLoad = "no load case is made";
constexpr std::string_view kPrint = "asks for printed results";
constexpr std::string_view kContact = "contact is in the results";
constexpr std::string_view kOtherModel = "the mesh or the masses are not those of the deck";
constexpr std::string_view kOptimize = "the results are sensitivities, or of another mesh";
constexpr std::string_view kTies = "ties degrees of freedom; the displacements of the results follow it";

constexpr CardRule kRules[] = {
    {"*AMPLITUDE", "", kPassed, kLoad},
    {"*BASE MOTION", "", kPassed, kOtherStep},
    {"*BEAM SECTION", "", kRead, "sections RECT, and with quadratic beams CIRC and PIPE; others are refused"},
    {"*BOUNDARY", "", kRead, "supports; with matrices they tell which rows are missing"},
    {"*BUCKLE", "", kRefused, kOtherModes},
    {"*CFLUX", "", kPassed, "not part of a frequency step; in a static step whose loads are taken it is refused"},
    {"*CHANGE CONTACT TYPE", "", kResults, kContact},
    {"*CHANGE FRICTION", "", kResults, kContact},
    {"*CHANGE MATERIAL", "", kResults, kMaterial},
    {"*CHANGE PLASTIC", "", kResults, kMaterial},
    {"*CHANGE SOLID SECTION", "", kRefused, kOtherModel},
    {"*CHANGE SURFACE BEHAVIOR", "", kResults, kContact},
    {"*CLEARANCE", "", kResults, kContact},
    {"*CLOAD", "", kRead, "forces of static steps become load cases"},
    {"*COMPLEX FREQUENCY", "", kRefused, kOtherModes},
    {"*CONDUCTIVITY", "", kPassed, kFlow},
    {"*CONSTRAINT", "", kRefused, kOptimize},
    {"*CONTACT DAMPING", "", kResults, kContact},
    {"*CONTACT FILE", "", kPassed, kPrint},
    {"*CONTACT OUTPUT", "", kPassed, kPrint},
    {"*CONTACT PAIR", "", kResults, "contact is in the results; in a static step whose loads are taken it is refused"},
    {"*CONTACT PRINT", "", kPassed, kPrint},
    {"*CONTROLS", "", kPassed, "settings of the solution"},
    {"*CORRELATION LENGTH", "", kRefused, kOptimize},
    {"*COUPLED TEMPERATURE-DISPLACEMENT", "", kPassed, kOtherStep},
    {"*COUPLING", "", kRead, "its reference node may be an interface"},
    {"*CRACK PROPAGATION", "", kRefused, kOtherModel},
    {"*CREEP", "", kPassed, kMaterial},
    {"*CYCLIC HARDENING", "", kPassed, kMaterial},
    {"*CYCLIC SYMMETRY MODEL", "", kRefused, "the modes of a sector are not those of the body"},
    {"*DAMAGE INITIATION", "", kPassed, kMaterial},
    {"*DAMPING", "", kPassed, "damping is not taken"},
    {"*DASHPOT", "", kPassed, "damping is not taken"},
    {"*DEFORMATION PLASTICITY", "", kPassed, kMaterial},
    {"*DENSITY", "", kRead, "one density a material; densities that change with temperature are refused"},
    {"*DEPVAR", "", kPassed, kMaterial},
    {"*DESIGN RESPONSE", "", kRefused, kOptimize},
    {"*DESIGN VARIABLES", "", kRefused, kOptimize},
    {"*DFLUX", "", kPassed, "not part of a frequency step; in a static step whose loads are taken it is refused"},
    {"*DISTRIBUTING", "", kRead, "a coupling by the mean motion"},
    {"*DISTRIBUTING COUPLING", "", kResults, kTies},
    {"*DISTRIBUTION", "", kPassed, kMaterial},
    {"*DLOAD", "", kRead, "pressure on solids and gravity of static steps become load cases; other loads are refused"},
    {"*DSLOAD", "", kPassed, "in a static step whose loads are taken it is refused"},
    {"*DYNAMIC", "", kPassed, kOtherStep},
    {"*EL FILE", "", kRead, "asks for stress and strain"},
    {"*EL FILE", "GLOBAL=NO", kRead, "in local axes of an *ORIENTATION they are refused"},
    {"*EL FILE", "OUTPUT=2D", kRead, "the sides of shells are not in the results, and refused"},
    {"*EL FILE", "SECTION FORCES", kRefused, "section forces stand in the place of stresses"},
    {"*EL PRINT", "", kPassed, kPrint},
    {"*ELASTIC", "", kRead, "Young's modulus, for a look at the units"},
    {"*ELECTRICAL CONDUCTIVITY", "", kPassed, kFlow},
    {"*ELECTROMAGNETICS", "", kPassed, kOtherStep},
    {"*ELEMENT", "", kRead,
     "solids, shells, membranes, MASS, springs, dashpots, trusses and beams; a type that is not supported is refused "
     "by its name"},
    {"*ELEMENT OUTPUT", "", kRead, "as *EL FILE"},
    {"*ELEMENT OUTPUT", "GLOBAL=NO", kRead, "as *EL FILE"},
    {"*ELEMENT OUTPUT", "OUTPUT=2D", kRead, "as *EL FILE"},
    {"*ELEMENT OUTPUT", "SECTION FORCES", kRefused, "section forces stand in the place of stresses"},
    {"*ELSET", "", kRead, "element sets, also with GENERATE"},
    {"*END STEP", "", kPassed, "ends a step"},
    {"*EQUATION", "", kRead, "with matrices the first degree of freedom follows the others"},
    {"*EXPANSION", "", kPassed, kMaterial},
    {"*FACE PRINT", "", kPassed, kPrint},
    {"*FEASIBLE DIRECTION", "", kRefused, kOptimize},
    {"*FILM", "", kPassed, "not part of a frequency step; in a static step whose loads are taken it is refused"},
    {"*FILTER", "", kRefused, kOptimize},
    {"*FLUID CONSTANTS", "", kPassed, kFlow},
    {"*FLUID SECTION", "", kPassed, kFlow},
    {"*FREQUENCY", "", kRead, "the step whose modes are taken; they are read from the results"},
    {"*FRICTION", "", kResults, kContact},
    {"*GAP", "", kRefused, "gap elements are not supported"},
    {"*GAP CONDUCTANCE", "", kPassed, kFlow},
    {"*GAP HEAT GENERATION", "", kPassed, kFlow},
    {"*GEOMETRIC CONSTRAINT", "", kRefused, kOptimize},
    {"*GEOMETRIC TOLERANCE", "", kRefused, kOptimize},
    {"*GREEN", "", kRefused, "Green functions are not modes"},
    {"*HCF", "", kRefused, kOptimize},
    {"*HEADING", "", kRead, "the title of the record"},
    {"*HEAT TRANSFER", "", kPassed, kOtherStep},
    {"*HYPERELASTIC", "", kPassed, kMaterial},
    {"*HYPERFOAM", "", kPassed, kMaterial},
    {"*INCLUDE", "", kRead,
     "the lines of the file stand in its place; a relative name counts from the folder of the deck"},
    {"*INITIAL CONDITIONS", "", kPassed, "its effect on the modes is in the results"},
    {"*INITIAL STRAIN INCREASE", "", kPassed, "its effect on the modes is in the results"},
    {"*KINEMATIC", "", kRead, "a coupling that follows rigidly"},
    {"*MAGNETIC PERMEABILITY", "", kPassed, kFlow},
    {"*MASS", "", kRead, "mass of elements MASS"},
    {"*MASS FLOW", "", kPassed, kLoad},
    {"*MATERIAL", "", kRead, "names a material"},
    {"*MATRIX ASSEMBLE", "", kRefused, "mass of another file is not in the deck"},
    {"*MEMBRANE SECTION", "", kRead, "as *SHELL SECTION"},
    {"*MODAL DAMPING", "", kPassed, "damping is not taken"},
    {"*MODAL DYNAMIC", "", kPassed, kOtherStep},
    {"*MODEL CHANGE", "", kRefused, kOtherModel},
    {"*MOHR COULOMB", "", kPassed, kMaterial},
    {"*MOHR COULOMB HARDENING", "", kPassed, kMaterial},
    {"*MPC", "", kResults, kTies},
    {"*NETWORK MPC", "", kResults, kTies},
    {"*NO ANALYSIS", "", kPassed, kOtherStep},
    {"*NODAL THICKNESS", "", kRead, "thicknesses of shells by node; of beams they are refused"},
    {"*NODE", "", kRead, "coordinates"},
    {"*NODE FILE", "", kRead, "asks for displacements"},
    {"*NODE FILE", "GLOBAL=NO", kRead, "in local axes of a *TRANSFORM they are refused"},
    {"*NODE FILE", "OUTPUT=2D", kRead, "rotations of shells are not in the results"},
    {"*NODE OUTPUT", "", kRead, "as *NODE FILE"},
    {"*NODE OUTPUT", "GLOBAL=NO", kRead, "as *NODE FILE"},
    {"*NODE OUTPUT", "OUTPUT=2D", kRead, "as *NODE FILE"},
    {"*NODE PRINT", "", kPassed, kPrint},
    {"*NORMAL", "", kRefused, "normals of shells that are given by hand are not supported"},
    {"*NSET", "", kRead, "node sets, also with GENERATE"},
    {"*NSET", "ELSET", kRefused, "list the nodes: the solver makes no node set of an element set"},
    {"*OBJECTIVE", "", kRefused, kOptimize},
    {"*ORIENTATION", "", kRead, "counts with *EL FILE, GLOBAL=NO"},
    {"*OUTPUT", "", kPassed, "frequency of the output"},
    {"*PHYSICAL CONSTANTS", "", kPassed, "not used by a frequency step"},
    {"*PLASTIC", "", kPassed, kMaterial},
    {"*PRE-TENSION SECTION", "", kResults, kTies},
    {"*RADIATE", "", kPassed, "not part of a frequency step; in a static step whose loads are taken it is refused"},
    {"*RANDOM FIELD", "", kRefused, kOptimize},
    {"*RATE DEPENDENT", "", kPassed, kMaterial},
    {"*REFINE MESH", "", kRefused, kOtherModel},
    {"*RESTART", "", kPassed, "writes a state"},
    {"*RESTART", "READ", kRefused, "the model is in another file"},
    {"*RETAINED NODAL DOFS", "", kRefused, kOtherModes},
    {"*RIGID BODY", "", kRead, "its reference node may be an interface"},
    {"*ROBUST DESIGN", "", kRefused, kOptimize},
    {"*SECTION PRINT", "", kPassed, kPrint},
    {"*SELECT CYCLIC SYMMETRY MODES", "", kRefused, "the modes of a sector are not those of the body"},
    {"*SENSITIVITY", "", kRefused, kOptimize},
    {"*SHELL SECTION", "", kRead,
     "one material; with an OFFSET the nodes are put to the middle of the shell; COMPOSITE is refused"},
    {"*SOLID SECTION", "", kRead, "one material; with COMPOSITE it is refused"},
    {"*SPECIFIC GAS CONSTANT", "", kPassed, kFlow},
    {"*SPECIFIC HEAT", "", kPassed, kFlow},
    {"*SPRING", "", kPassed, "stiffness is in the results"},
    {"*STATIC", "", kRead,
     "its loads become a load case; where modes start from its state, its stress becomes the pre-stress"},
    {"*STEADY STATE DYNAMICS", "", kPassed, kOtherStep},
    {"*STEP", "", kRead, "counts steps; PERTURBATION and NLGEOM tell where modes start"},
    {"*SUBMODEL", "", kResults, kTies},
    {"*SUBSTRUCTURE GENERATE", "", kRefused, kOtherModes},
    {"*SUBSTRUCTURE MATRIX OUTPUT", "", kRefused, kOtherModes},
    {"*SURFACE", "", kRead, "the nodes of couplings"},
    {"*SURFACE BEHAVIOR", "", kResults, kContact},
    {"*SURFACE INTERACTION", "", kResults, kContact},
    {"*TEMPERATURE", "", kPassed,
     "its effect on the modes is in the results; in a static step whose loads are taken it is refused"},
    {"*TIE", "", kResults, kTies},
    {"*TIME POINTS", "", kPassed, "times of the output"},
    {"*TRANSFORM", "", kRead, "counts with *NODE FILE, GLOBAL=NO, and with matrices"},
    {"*TRANSFORMF", "", kPassed, kFlow},
    {"*UNCOUPLED TEMPERATURE-DISPLACEMENT", "", kPassed, kOtherStep},
    {"*USER ELEMENT", "", kRefused, "elements of the user's own have masses that the deck does not tell"},
    {"*USER MATERIAL", "", kPassed, kMaterial},
    {"*USER SECTION", "", kRefused, "elements of the user's own have masses that the deck does not tell"},
    {"*VALUES AT INFINITY", "", kPassed, kLoad},
    {"*VIEWFACTOR", "", kPassed, kFlow},
    {"*VISCO", "", kPassed, kOtherStep},
};

// "NAME" or "NAME=VALUE" against the parameters of a card.
bool has_parameter(const Card &card, std::string_view parameter) {
  const std::size_t equals = parameter.find('=');
  const std::string name = squeeze(parameter.substr(0, equals));
  if (!card.has(name)) return false;
  return equals == std::string_view::npos || card.value(name) == parameter.substr(equals + 1);
}

std::string_view unquoted(std::string_view text) {
  text = trim(text);
  if (text.size() >= 2 && (text.front() == '"' || text.front() == '\'') && text.back() == text.front())
    text = text.substr(1, text.size() - 2);
  return text;
}

using RuleRange = std::span<const CardRule>;

// The rules of each card by its name without blanks.
const std::map<std::string, RuleRange> &rules_by_card() {
  static const std::map<std::string, RuleRange> kTable = [] {
    std::map<std::string, RuleRange> table;
    for (std::size_t i = 0; i < std::size(kRules);) {
      std::size_t end = i;
      while (end < std::size(kRules) && kRules[end].card == kRules[i].card) ++end;
      table.emplace(squeeze(kRules[i].card), RuleRange(kRules + i, end - i));
      i = end;
    }
    return table;
  }();
  return kTable;
}

}  // namespace

std::string Card::value(const std::string &name) const {
  const auto found = parameters.find(name);
  return found == parameters.end() ? std::string() : upper(found->second);
}

std::string squeeze(std::string_view text) {
  std::string result;
  for (const char c : text)
    if (c != ' ' && c != '\t') result += c;
  return upper(result);
}

Card parse_card(const std::string &text, const Place &place) {
  Card card;
  card.place = place;
  const auto fields = split_fields(text);
  card.keyword = squeeze(fields.front());
  for (std::size_t i = 1; i < fields.size(); ++i) {
    const std::size_t equals = fields[i].find('=');
    const std::string name = squeeze(fields[i].substr(0, equals));
    if (name.empty()) continue;
    card.parameters[name] =
        equals == std::string_view::npos ? std::string() : std::string(unquoted(fields[i].substr(equals + 1)));
  }
  return card;
}

std::span<const CardRule> card_rules() { return kRules; }

CardRole judge_card(const Card &card) {
  const auto found = rules_by_card().find(card.keyword);
  if (found == rules_by_card().end())
    throw InputError(card.place, card.keyword + " is not a known card; take it out if the solver passes over it");
  const RuleRange rules = found->second;
  for (const CardRule &rule : rules)
    if (rule.role == CardRole::refused && (rule.parameter.empty() || has_parameter(card, rule.parameter)))
      throw InputError(card.place, std::string(rule.card) + (rule.parameter.empty() ? "" : ", ") +
                                       std::string(rule.parameter) + " is refused: " + std::string(rule.words));
  return rules.front().role;
}

}  // namespace sbrtranslate
