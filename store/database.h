// The open database: its files, the logical names and the data blocks of other databases that have been located, and
// the units. There is one at a time.
#ifndef QSRV_DATABASE_H
#define QSRV_DATABASE_H

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "command.h"
#include "datafile.h"
#include "unit.h"

namespace qsrv {

class Database {
 public:
  // Opens NAME.MASTER and its data file for a run that lasts until close.
  static std::unique_ptr<Database> open(const std::string &base);
  // Creates them; the command names the data set: "init dbsbr" a scratch one, "dbsetdel dball" one that lasts.
  static std::unique_ptr<Database> create(const std::string &base, const std::string &command);
  ~Database();
  Database(const Database &) = delete;
  Database &operator=(const Database &) = delete;

  // Ends the run: what was kept lasts. Throws not_written, with everything undone, when something could not be stored.
  void close();
  // Notes that something could not be stored.
  void spoil() noexcept { spoiled_ = true; }

  [[nodiscard]] const std::string &base() const { return base_; }

  void run(const Command &command);
  // The dictionary's list; empty when it lists nothing.
  std::string list(const Command &command);
  // Attaches the data blocks of a selection: their number, and the unit of the first.
  int attach(const Command &command, int &unit);
  int create_block(const Command &command);
  // Throws bad_unit for a number that is none.
  Unit &unit(std::int64_t number);

 private:
  // A data block that the dictionary knows: one of the database, or one located elsewhere.
  struct Known {
    std::shared_ptr<DataFile> file;
    BlockEntry block;
    bool ours = false;
  };

  Database(std::string base, std::shared_ptr<DataFile> file) : base_(std::move(base)), file_(std::move(file)) {}

  void assign(const Command &command);
  void locate(const Command &command);
  std::vector<Known> select(const Command &command);
  int add_unit(std::shared_ptr<DataFile> file, std::int64_t block, bool ours);

  std::string base_;
  std::shared_ptr<DataFile> file_;
  bool spoiled_ = false;
  std::map<std::string, std::string> logicals_;  // name in lower case -> path
  std::vector<Known> located_;
  std::vector<std::unique_ptr<Unit>> units_;  // unit n stands at n - 1
};

}  // namespace qsrv

#endif
