// sbr report, write, units: a record printed, and made anew.
#include "changing.h"

#include <cstdio>

#include "rawrecord.h"
#include "unitsystems.h"

namespace sbrtool {
namespace {

void print_report(const std::string &file, std::vector<int> blocks) {
  const Body body = open_record(file);
  if (blocks.empty())
    for (int block = 1; block <= kBlockCount; ++block)
      if (SBR_Exists(body.get(), block - 1) != 0) blocks.push_back(block);
  for (const int block : blocks) SBR_Contents(body.get(), block, stdout);
  if (std::fflush(stdout) != 0) throw Failure(kFailed, "cannot write to standard output");
}

void add_write(CLI::App &app) {
  CLI::App *command = app.add_subcommand("write", "Write a record anew: orthonormal modes, chosen blocks and layout");
  const auto job = add_job(*command);
  command->footer(
      "The flags become the text of the environment variable KTX_SBRWRITE_OPTIONS; what the variable\n"
      "holds already stays in front.");
  command->callback([job] {
    const Body body = open_to_write(job->input, job->options);
    write_record(body.get(), job->input, job->output, job->options);
  });
}

void add_units(CLI::App &app) {
  CLI::App *command = app.add_subcommand("units", "Convert a record to another unit system");
  const auto job = add_job(*command);
  const auto system = std::make_shared<std::string>();
  command->add_option("--to", *system, "The system: " + unit_system_names() + ", or MASS,LENGTH,TIME,FORCE")
      ->type_name("SYSTEM")
      ->required();
  command->callback([job, system] {
    const UnitSystem units = unit_system(*system);
    const Body body = open_to_write(job->input, job->options);
    if (SBR_SetUnits(body.get(), units.mass.c_str(), units.length.c_str(), units.time.c_str(), units.force.c_str()) ==
        0)
      throw Failure(kUsage, "the record cannot be converted to " + *system);
    write_record(body.get(), job->input, job->output, job->options);
  });
}

}  // namespace

std::shared_ptr<Job> add_job(CLI::App &command) {
  auto job = std::make_shared<Job>();
  command.add_option("IN", job->input, "The record to read")->required();
  command.add_option("OUT", job->output, "The record to write")->required();
  add_write_options(command, job->options);
  return job;
}

void add_changing_commands(CLI::App &app, int &exit_code) {
  (void)exit_code;
  struct Options {
    std::string file;
    std::vector<int> blocks;
  };
  const auto options = std::make_shared<Options>();
  CLI::App *report = app.add_subcommand("report", "Print blocks of a record as text");
  report->add_option("FILE", options->file, "The record")->required();
  report
      ->add_option("BLOCK", options->blocks,
                   "Block numbers, 1 to 36 as listed below; all that exist when none is given")
      ->check(CLI::Range(1, int{kBlockCount}));
  report->callback([options] { print_report(options->file, options->blocks); });
  add_write(app);
  add_transform_command(app);
  add_reduce_command(app);
  add_units(app);
}

}  // namespace sbrtool
