#include "blocks/texts.h"

#include <cstring>

#include "body/header.h"
#include "body/units.h"

namespace sbr {
namespace {

// ---- version word --------------------------------------------------------------------------------------------------

const char *yes_no(bool value) noexcept { return value ? "Yes" : "No"; }

bool print_version(const Report &report) noexcept {
  const std::uint32_t word = report.body.layout.version;
  const int code = version_code(word);
  const bool single = code == 50 || code == 51 || (word & kSingleFlag) != 0;
  const bool xdr = is_xdr_old(static_cast<std::uint32_t>(code)) || (word & kXdrFlag) != 0;
  std::fprintf(report.out, "SBR version:%4.1f\n", code / 10.0);
  std::fprintf(report.out, "Precision: %s   \n", single ? "Single" : "Double");
  std::fprintf(report.out, "Platform independent (XDR encoded): %s \n", yes_no(xdr));
  std::fprintf(report.out, "Coarsened or sketched mesh: %s \n\n", yes_no((word & kCoarsenedFlag) != 0));
  return true;
}

// ---- header --------------------------------------------------------------------------------------------------------

Reading read_header(SbrBody &body) noexcept {
  HeaderTexts &texts = body.header;
  FieldReader reader(body.record);
  if (!go_to_block(body, kHeader) || !transfer(reader, texts)) return failed("Problem reading Header information");
  terminate_text(texts.title, sizeof texts.title);
  terminate_text(texts.date, sizeof texts.date);
  terminate_text(texts.input_file_name, sizeof texts.input_file_name);
  terminate_text(texts.comment1, sizeof texts.comment1);
  terminate_text(texts.comment2, sizeof texts.comment2);
  terminate_text(texts.comment3, sizeof texts.comment3);
  return Reading::complete;
}

bool print_header(const Report &report) noexcept {
  const HeaderTexts texts = header_texts(report.body);
  std::fprintf(report.out, "Title: %s\n", texts.title);
  std::fprintf(report.out, "Date: %s\n", texts.date);
  std::fprintf(report.out, "Input file name: %s\n", texts.input_file_name);
  // The one text that may fill its field to the last byte.
  std::fprintf(report.out, "Input file type: %.*s\n", static_cast<int>(sizeof texts.input_file_type),
               texts.input_file_type);
  std::fprintf(report.out, "Comments:\n");
  for (const char *comment : {texts.comment1, texts.comment2, texts.comment3})
    std::fprintf(report.out, "  %s\n", comment);
  std::fprintf(report.out, "\n");
  return true;
}

// ---- content summary -----------------------------------------------------------------------------------------------

bool print_content_summary(const Report &report) noexcept {
  std::fprintf(report.out, "Existence:\n");
  for (int block = 0; block < kBlockCount; ++block) {
    const char *name = block_kind(block).name;
    if (name == nullptr) continue;
    char label[48];
    std::snprintf(label, sizeof label, "%s (%d)", name, block + 1);
    std::fprintf(report.out, "%30s %s\n", label, yes_no(has_block(report.body, block)));
  }
  std::fprintf(report.out, "\n");
  return true;
}

// ---- units ---------------------------------------------------------------------------------------------------------

// A body without the block is in kilogram, meter, second and newton. A block that breaks off leaves its later labels
// empty: that is no failure of the read.
Reading read_units(SbrBody &body) noexcept {
  UnitState &units = body.units;
  char *const labels[] = {units.mass_units, units.length_units, units.time_units, units.force_units};
  const PositionKeeper keeper(body.record);
  if (!go_to_block(body, kUnits)) {
    std::memcpy(units.mass_units, "KILOGRAM", sizeof "KILOGRAM");
    std::memcpy(units.length_units, "METER", sizeof "METER");
    std::memcpy(units.time_units, "SECOND", sizeof "SECOND");
    std::memcpy(units.force_units, "NEWTON", sizeof "NEWTON");
    return Reading::complete;
  }
  UnitLabels stored;
  FieldReader reader(body.record);
  (void)transfer(reader, stored);
  const char *const from[] = {stored.mass, stored.length, stored.time, stored.force};
  for (int i = 0; i < 4; ++i) std::memcpy(labels[i], from[i], kUnitChars);
  for (char *label : labels)
    if (SBR_ConvertUnitsLabel(label) == 0) break;
  for (char *label : labels) terminate_text(label, kUnitChars);
  return Reading::complete;
}

bool write_units(Emission &run) noexcept {
  UnitLabels labels;
  give_units(run.body, labels.mass, labels.length, labels.time, labels.force);
  report_info("\nUnits:\n   Mass:   %.16s\n   Length: %.16s\n   Time:   %.16s\n   Force:  %.16s", labels.mass,
              labels.length, labels.time, labels.force);
  return run.put(labels);
}

bool print_units(const Report &report) noexcept {
  UnitLabels labels;
  give_units(report.body, labels.mass, labels.length, labels.time, labels.force);
  std::fprintf(report.out, "Units:\n");
  std::fprintf(report.out, "Mass Units    %.16s\n", labels.mass);
  std::fprintf(report.out, "Length Units  %.16s\n", labels.length);
  std::fprintf(report.out, "Time Units    %.16s\n", labels.time);
  std::fprintf(report.out, "Force Units   %.16s\n", labels.force);
  std::fprintf(report.out, "\n");
  return true;
}

}  // namespace

constinit const BlockFunctions kVersionCodeBlock{.print = print_version};
constinit const BlockFunctions kHeaderBlock{.read = read_header, .print = print_header};
constinit const BlockFunctions kContentSummaryBlock{.print = print_content_summary};
constinit const BlockFunctions kUnitsBlock{.read = read_units, .write = write_units, .print = print_units};

}  // namespace sbr
