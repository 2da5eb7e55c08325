#include "blocknames.h"

#include <cstdio>

#include "record/blocks.h"

namespace sbrtool {

const char *block_name(int block) {
  return block == sbr::kOldMonitorPoints ? "Monitor Points (old place)" : sbr::kBlockTexts[block].name;
}

std::string block_list() {
  constexpr int kRows = sbr::kBlockCount / 3;
  std::string text;
  for (int row = 0; row < kRows; ++row) {
    std::string line;
    for (int i = row; i < sbr::kBlockCount; i += kRows) {
      char item[48];
      std::snprintf(item, sizeof item, "  %2d %-26s", i + 1, block_name(i));
      line += item;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    text += line + '\n';
  }
  return text;
}

}  // namespace sbrtool
