// Construction of a body: header texts, node coordinates, masses and inertias.
#include "body/header.h"

#include <ctime>

#include "base/reports.h"
#include "base/texts.h"
#include "body/node_table.h"
#include "body/registry.h"

namespace sbr {
namespace {

void blank_newlines(char *text) noexcept {
  for (; *text != '\0'; ++text)
    if (*text == '\n') *text = ' ';
}

// The local time as asctime writes it, the line feed at its end turned into a blank.
void store_date(char (&date)[32]) noexcept {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  char text[64] = {};
  if (localtime_r(&now, &local) == nullptr || asctime_r(&local, text) == nullptr) return;
  blank_newlines(text);
  store_text(date, text);
}

// One text of the header, with its warning and its information.
template <std::size_t Size>
void store_header_text(char (&field)[Size], char *text, const char *too_big, const char *stored) noexcept {
  constexpr long kLimit = static_cast<long>(Size) - 1;
  if (text != nullptr) {
    const auto length = static_cast<long>(std::strlen(text));
    if (length > kLimit) report_warning(too_big, kLimit, length);
    blank_newlines(text);
  }
  store_text(field, text);
  report_info(stored, field);
}

// The record of a node, new or known; null after a report.
NodeRecord *node_to_set(SbrBody *body, int id) noexcept {
  if (!require_body(body)) return nullptr;
  const int index = lookup_or_add_node(*body, id);
  return index < 0 ? nullptr : &body->nodes.nodes[index];
}

// The six inertia values of a node, new or known; null after a report.
double *inertia_to_set(SbrBody *body, int id) noexcept {
  if (!require_body(body)) return nullptr;
  const int index = lookup_or_add_node(*body, id);
  if (index < 0) return nullptr;
  double *six = node_inertia_or_add(*body, index);
  if (six == nullptr) report_no_memory(unit_name::kConstruction);
  return six;
}

}  // namespace

HeaderTexts header_texts(const SbrBody &body) noexcept {
  HeaderTexts texts = body.header;
  for (char *text : {texts.title, texts.input_file_name}) text[sizeof texts.title - 1] = '\0';
  texts.date[sizeof texts.date - 1] = '\0';
  for (char *text : {texts.comment1, texts.comment2, texts.comment3}) text[sizeof texts.comment1 - 1] = '\0';
  if (const std::size_t length = std::strlen(texts.date); length > 0 && texts.date[length - 1] == '\n')
    texts.date[length - 1] = '\0';
  return texts;
}

}  // namespace sbr

extern "C" {

// ---- header ---------------------------------------------------------------------------------------------

int SBR_SetHeader(SBR body, char *title, char *input_file_name, char *input_file_type, char *comment1, char *comment2,
                  char *comment3) {
  if (!sbr::require_body(body)) return 0;
  sbr::HeaderTexts &header = body->header;
  sbr::store_date(header.date);
  sbr::store_header_text(header.title, title, "Title too big: max size %ld, specified size %ld.\nTruncating title.",
                         "Title: %s");
  sbr::store_header_text(header.input_file_name, input_file_name,
                         "Input file name too big: max size %ld, specified size %ld.\nTruncating input file name.",
                         "Name : %s");
  sbr::store_header_text(header.input_file_type, input_file_type,
                         "Input file type spec too big: max size %ld, specified size %ld.\nTruncating input file type.",
                         "Type : %s");
  sbr::store_header_text(header.comment1, comment1,
                         "Comment 1 too big: max size %ld, specified size %ld.\nTruncating Comment 1.",
                         "Comment 1: %s");
  sbr::store_header_text(header.comment2, comment2,
                         "Comment 2 too big: max size %ld, specified size %ld.\nTruncating Comment 2.",
                         "Comment 2: %s");
  sbr::store_header_text(header.comment3, comment3,
                         "Comment 3 too big: max size %ld, specified size %ld.\nTruncating Comment 3.",
                         "Comment 3: %s");
  return 1;
}

void SBR_Header(SBR body, char *title, char *date, char *input_file_name, char *input_file_type, char *comment1,
                char *comment2, char *comment3) {
  if (body == nullptr) return;
  const sbr::HeaderTexts texts = sbr::header_texts(*body);
  sbr::give_text(title, texts.title);
  sbr::give_text(date, texts.date);
  sbr::give_text(input_file_name, texts.input_file_name);
  sbr::give_field(input_file_type, texts.input_file_type);
  sbr::give_text(comment1, texts.comment1);
  sbr::give_text(comment2, texts.comment2);
  sbr::give_text(comment3, texts.comment3);
}

// ---- nodes ----------------------------------------------------------------------------------------------

int SBR_SetNodeCoordinates(SBR body, int id, double x, double y, double z) {
  sbr::NodeRecord *node = sbr::node_to_set(body, id);
  if (node == nullptr) return 0;
  node->x = x;
  node->y = y;
  node->z = z;
  body->search.drop();
  sbr::set_block(*body, sbr::kNodalCoords);
  return 1;
}

int SBR_SetNodalMass(SBR body, int id, double mass) {
  sbr::NodeRecord *node = sbr::node_to_set(body, id);
  if (node == nullptr) return 0;
  node->mass = mass;
  sbr::set_block(*body, sbr::kNodalMasses);
  return 1;
}

int SBR_AddNodalMass(SBR body, int id, double mass) {
  sbr::NodeRecord *node = sbr::node_to_set(body, id);
  if (node == nullptr) return 0;
  node->mass += mass;
  sbr::set_block(*body, sbr::kNodalMasses);
  return 1;
}

int SBR_SetNodalInertia(SBR body, int id, double ixx, double iyy, double izz, double ixy, double ixz, double iyz) {
  double *six = sbr::inertia_to_set(body, id);
  if (six == nullptr) return 0;
  const double given[6] = {ixx, iyy, izz, ixy, ixz, iyz};
  std::memcpy(six, given, sizeof given);
  sbr::set_block(*body, sbr::kNodalInertias);
  return 1;
}

int SBR_SetNodalInertiaEntry(SBR body, int id, int row, int column, double value) {
  if (!sbr::require_body(body)) return 0;
  if (row < 1 || row > 3 || column < 1 || column > 3) {
    sbr::report_error("The inertia entry (%d, %d) is illegal.\nThe row and column must be 1 to 3.", row, column);
    return 0;
  }
  double *six = sbr::inertia_to_set(body, id);
  if (six == nullptr) return 0;
  six[sbr::kPackedPlace[row - 1][column - 1]] = value;
  sbr::set_block(*body, sbr::kNodalInertias);
  return 1;
}

}  // extern "C"
