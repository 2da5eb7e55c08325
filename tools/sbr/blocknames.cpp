#include "blocknames.h"

#include <cstdio>

namespace sbrtool {

std::string block_list() {
  constexpr std::size_t kRows = kBlockNames.size() / 3;
  std::string text;
  for (std::size_t row = 0; row < kRows; ++row) {
    std::string line;
    for (std::size_t i = row; i < kBlockNames.size(); i += kRows) {
      char item[48];
      std::snprintf(item, sizeof item, "  %2d %-26s", static_cast<int>(i) + 1, kBlockNames[i]);
      line += item;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    text += line + '\n';
  }
  return text;
}

}  // namespace sbrtool
