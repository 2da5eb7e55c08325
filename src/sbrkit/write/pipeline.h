// The write pipeline: from a body and the options in the environment to a plan, a summary and emitted blocks. What the
// target of a write differs in is data of a WriteTarget; opening before and closing after are the caller's.
#ifndef SBRKIT_WRITE_PIPELINE_H
#define SBRKIT_WRITE_PIPELINE_H

#include "blocks/sink.h"
#include "body/body.h"
#include "write/plan.h"

namespace sbr {

struct WriteTarget {
  Sink sink;
  VersionRules version;
  const char *unit;  // the source unit that allocation messages name
  // Readies the sink for the encoding and precision of the word. False after a report.
  bool (*prepare)(void *target, SbrBody &body, std::uint32_t word);
};

// True, after a report, when the path is that of the record the body was read from.
[[nodiscard]] bool is_own_source(const SbrBody &body, const char *path) noexcept;

// Runs every step from reading KTX_SBRWRITE_OPTIONS to the last block. True when the record is complete in the sink;
// every failure has been reported. The plan is left for closing steps that need it. The body keeps what the steps did.
[[nodiscard]] bool run_write_pipeline(SbrBody &body, const WriteTarget &target, WritePlan &plan) noexcept;

}  // namespace sbr

#endif
