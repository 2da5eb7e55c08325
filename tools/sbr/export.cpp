// sbr export: the tables and the picture of a body as files that other programs read.
#include "export.h"

#include <charconv>
#include <cmath>
#include <iostream>
#include <map>

namespace sbrtool {

// ---- files
// -----------------------------------------------------------------------------------------------------------

ExportFiles::ExportFiles(const std::filesystem::path &directory) : directory_(directory) {
  std::error_code code;
  if (std::filesystem::exists(directory, code) && !std::filesystem::is_directory(directory, code))
    throw Failure(kUsage, directory.string() + ": is a file, a directory is needed");
  std::filesystem::create_directories(directory, code);
  if (code) throw Failure(kFailed, directory.string() + ": " + code.message());
}

std::FILE *ExportFiles::open(const std::string &name) {
  files_.push_back(std::make_unique<OutputFile>(directory_ / name));
  return files_.back()->stream();
}

void ExportFiles::commit() {
  for (const auto &file : files_) file->close();
  for (const auto &file : files_) file->commit();
}

// ---- text
// ------------------------------------------------------------------------------------------------------------

namespace {

// The shortest text that reads back the same.
void append(std::string &line, double value, bool integer) {
  char text[40];
  const auto end = integer ? std::to_chars(text, text + sizeof text, static_cast<std::int64_t>(value)).ptr
                           : std::to_chars(text, text + sizeof text, value).ptr;
  line.append(text, end);
}

void send(std::FILE *file, const std::string &text) {
  if (std::fwrite(text.data(), 1, text.size(), file) != text.size())
    throw Failure(kFailed, "the tables cannot be written");
}

void put_csv(const ExportTable &table, std::FILE *file) {
  std::string line;
  for (const ExportColumn &column : table.columns)
    line += (line.empty() ? "" : ",") + column.name + (column.unit.empty() ? "" : " [" + column.unit + "]");
  send(file, line + '\n');
  table.produce([&](const double *values) {
    line.clear();
    for (std::size_t c = 0; c < table.columns.size(); ++c) {
      if (c > 0) line += ',';
      append(line, values[c], table.columns[c].integer);
    }
    send(file, line += '\n');
  });
}

// One row a line, so that large tables can be looked into.
void put_json(const ExportTable &table, std::FILE *file) {
  Json columns = Json::array();
  for (const ExportColumn &column : table.columns) columns.push_back({{"name", column.name}, {"unit", column.unit}});
  send(file, "{\"table\": " + Json(table.name).dump() + ",\n\"columns\": " + columns.dump() + ",\n\"rows\": [");
  std::string line;
  bool first = true;
  table.produce([&](const double *values) {
    line = first ? "\n[" : ",\n[";
    first = false;
    for (std::size_t c = 0; c < table.columns.size(); ++c) {
      if (c > 0) line += ", ";
      if (std::isfinite(values[c]))
        append(line, values[c], table.columns[c].integer);
      else
        line += "null";
    }
    send(file, line += ']');
  });
  send(file, "\n]}\n");
}

void export_text(SBR body, const std::filesystem::path &directory, const char *ending,
                 void (*put)(const ExportTable &table, std::FILE *file)) {
  ExportFiles files(directory);
  for (const ExportTable &table : tables_of(body)) put(table, files.open(table.name + ending));
  files.commit();
}

}  // namespace

void export_csv(SBR body, const std::filesystem::path &directory) { export_text(body, directory, ".csv", put_csv); }

void export_json(SBR body, const std::filesystem::path &directory) { export_text(body, directory, ".json", put_json); }

// ---- command
// ---------------------------------------------------------------------------------------------------------

void add_export_commands(CLI::App &app, int &exit_code) {
  (void)exit_code;
  struct Options {
    std::string file;
    std::map<std::string, std::string> targets;
  };
  const auto options = std::make_shared<Options>();
  CLI::App *command = app.add_subcommand("export", "Write the tables or a picture of a record for other programs");
  command->add_option("FILE", options->file, "The record")->required();
  for (const Exporter &exporter : kExporters)
    command->add_option(exporter.flag, options->targets[exporter.flag], exporter.help)->type_name(exporter.type);
  command->callback([options] {
    const Body body = open_record(options->file);
    bool any = false;
    for (const Exporter &exporter : kExporters) {
      const std::string &target = options->targets[exporter.flag];
      if (target.empty()) continue;
      require_other_file(options->file, target, "input");
      exporter.run(body.get(), target);
      any = true;
    }
    if (any) return;
    std::string flags;
    for (const Exporter &exporter : kExporters)
      flags += std::string(flags.empty() ? "" : ", ") + exporter.flag + " " + exporter.type;
    throw Failure(kUsage, "nothing to do: give " + flags);
  });
}

}  // namespace sbrtool
