// What a body's record contains: the content flags and the version word behind the public operations.
#include "body/body.h"
#include "body/registry.h"
#include "record/toc.h"

using sbr::require_body;

extern "C" {

int SBR_Exists(SBR body, int block_index) {
  if (!require_body(body) || block_index < 0 || block_index >= sbr::kBlockCount) return 0;
  const int byte = sbr::content_byte(block_index);
  return byte < 0 ? 1 : body->layout.content[byte];
}

int SBR_goto_block(SBR body, int block_index) {
  if (!require_body(body)) return 0;
  return sbr::go_to_block(body->record, body->layout, block_index) ? 1 : 0;
}

int SBR_Version(SBR body) { return require_body(body) ? sbr::version_code(body->layout.version) : 0; }

void SBR_SetVersion(SBR body, uint32_t version) {
  if (!require_body(body)) return;
  const uint32_t code = version & 0xFFU;
  body->layout.version = sbr::is_old(version) ? code : (body->layout.version & ~0xFFU) | code;
}

}  // extern "C"
