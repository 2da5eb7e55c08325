#include "blocks/report.h"

#include "base/reports.h"
#include "blocks/table.h"
#include "body/node_table.h"
#include "body/registry.h"

namespace sbr {

void Report::banner() const noexcept {
  constexpr const char *kDashes = "--------------------------------------------------------------------------\n";
  std::fprintf(out, "\n\n%s|%72s|\n", kDashes, "");
  std::fprintf(out, "|    Block %3d:      %-30s                      |\n", block + 1, block_kind(block).title);
  std::fprintf(out, "|%72s|\n%s\n\n", "", kDashes);
}

bool Report::no_memory(int line) const noexcept { return report_no_memory(unit_name::kContents, line); }

bool Report::sorted_nodes(Kind kind, std::span<const NodeKey> &keys) const noexcept {
  keys = sorted_keys(body, kind);
  return !keys.empty() || kind_count(body, kind) < 1 ? true : no_memory();
}

void print_block(SbrBody &body, int block, std::FILE *out) noexcept {
  if (block >= 0 && block_kind(block).functions->print != nullptr) {
    const BlockFunctions &functions = *block_kind(block).functions;
    const Report report{body, out, block};
    if (!functions.prints_banner) report.banner();
    if (!functions.print(report)) return;
  }
  std::fflush(out);
}

}  // namespace sbr

extern "C" {

void SBR_Contents(SBR body, int block_number, FILE *stream) {
  if (!sbr::require_body(body)) return;
  // Builds the keys that node listings walk.
  (void)sbr::node_index(*body, 1);
  const int block = block_number >= 1 && block_number <= sbr::kBlockCount ? block_number - 1 : -1;
  if (stream != nullptr) sbr::print_block(*body, block, stream);
}

}  // extern "C"
