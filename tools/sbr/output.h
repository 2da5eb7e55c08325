// Files that the program makes. They appear under their names only when they are whole: until then they stand beside
// them under another name, and a command that fails, or is ended by a signal, leaves what was there before.
#ifndef SBRKIT_TOOLS_SBR_OUTPUT_H
#define SBRKIT_TOOLS_SBR_OUTPUT_H

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include "interrupt.h"

namespace sbrtool {

// Ends the command when the output is the file that it is made from, which messages call `noun`.
void require_other_file(const std::string &input, const std::filesystem::path &output, const char *noun);

class OutputFile {
 public:
  // Makes the file that is written to. Ends the command when the name is that of a directory or of a file that may not
  // be written. A link is followed: the file that it names is replaced. Devices and pipes are written to as they are.
  explicit OutputFile(const std::filesystem::path &target);
  ~OutputFile();
  OutputFile(const OutputFile &) = delete;
  OutputFile &operator=(const OutputFile &) = delete;

  // Where to write.
  [[nodiscard]] const std::string &path() const { return path_; }
  // Whether what was written can be read back.
  [[nodiscard]] bool is_regular() const { return regular_; }
  // The file as a stream, which belongs to this object.
  std::FILE *stream();
  // Writes out what the stream still holds, or ends the command.
  void close();
  // Gives the closed file its name, or ends the command.
  void commit();

 private:
  void make_beside();
  [[noreturn]] void fail(const std::string &reason) const;

  std::filesystem::path given_;   // the name for messages
  std::filesystem::path target_;  // behind links
  std::string path_;
  std::FILE *stream_ = nullptr;
  bool regular_ = false;
  std::unique_ptr<RemovedOnInterrupt> pending_;  // while the file has not got its name
};

}  // namespace sbrtool

#endif
