// The open database: its files, the logical names and the data blocks of other databases that have been located, and
// the units. There is one at a time.
#ifndef QSRV_DATABASE_H
#define QSRV_DATABASE_H

#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "command.h"
#include "datafile.h"
#include "listing.h"
#include "qualifiers.h"
#include "stage.h"
#include "unit.h"

namespace qsrv {

// The connections to databases that are read, one for each path.
class Connections {
 public:
  // The data file of a base, which has been found sound. Throws when it cannot be read.
  std::shared_ptr<DataFile> get(const std::string &base);

 private:
  struct Kept {
    std::string base;
    std::shared_ptr<DataFile> file;
  };
  std::deque<Kept> kept_;  // the last one used comes last
};

class Database {
 public:
  // Opens NAME.MASTER and its data file for a run that lasts until close.
  static std::unique_ptr<Database> open(const std::string &base);
  // Creates them; the command names the data set: "init dbsbr" a scratch one, "dbsetdel dball" one that lasts, which
  // appears when it is closed; "dbrepair dball" finds the data sound and gives them a new ".MASTER" if that is lost.
  static std::unique_ptr<Database> create(const std::string &base, const std::string &command);

  // Ends the run: what was kept lasts. Throws, with everything undone, when something could not be stored.
  void close();
  // Notes that something could not be stored.
  void spoil() noexcept { spoiled_ = true; }

  [[nodiscard]] const std::string &base() const { return base_; }

  void run(const Command &command);
  // The dictionary's list; empty when it lists nothing.
  std::string list(const Command &command);
  // Attaches the data blocks of a selection: their number, and the unit of the first.
  int attach(const Command &command, int &unit);
  int create_block(const std::string &command);
  // Throws bad_unit for a number that is none.
  Unit &unit(std::int64_t number);
  void close_unit(std::int64_t number, bool keep);

 private:
  enum class Kind { scratch, lasting, new_lasting };

  // Data blocks of another database, known in this one under changed qualifiers. They are looked up when asked for.
  struct Located {
    std::string base;
    std::string name;
    Conditions where;
    Changes changes;
    std::int64_t row = 0;  // only the one at this row of the selection; 0 for all
    std::string logical;
    std::string selection;  // what makes two of them the same apart from the high qualifier
  };
  // A data block that a command selects.
  struct Known {
    std::shared_ptr<DataFile> file;       // of a stored one
    std::shared_ptr<Snapshot> state;      // in which it was found
    std::shared_ptr<StagedBlock> staged;  // one of this run
    BlockEntry entry;
    std::int64_t row = 0;
    bool ours = false;
  };

  Database(std::string base, Kind kind, std::shared_ptr<Stage> stage)
      : base_(std::move(base)), kind_(kind), stage_(std::move(stage)) {}

  // A list as it was last made. Hosts ask for the same one again for each of its rows.
  struct Listed {
    std::string version;  // of the data file
    std::string question;
    std::string text;
  };

  static std::unique_ptr<Database> create_scratch(const std::string &base);
  static std::unique_ptr<Database> create_lasting(const std::string &base);
  static void repair(const std::string &base);

  void assign(const Command &command);
  void locate(const Command &command);
  std::vector<Known> select(const Command &command);
  void select_own(const std::string &name, const Conditions &where, std::vector<Known> &selected);
  void select_located(const Located &located, const Conditions &where, std::vector<Known> &selected);
  const Located *only_located(const std::string &name, const Conditions &where) const;
  std::string list_selected(const Command &command);
  int add_unit(std::unique_ptr<Unit> unit);
  std::shared_ptr<StagedBlock> new_block(const std::string &name, const Qualifiers &qualifiers);

  bool has_work() const;
  void store_all();
  void store_into(DataFile &file);

  std::string base_;
  Kind kind_;
  std::shared_ptr<Stage> stage_;  // made when the first data block is created
  bool spoiled_ = false;
  bool attempted_ = false;                         // a data block was to be created
  std::map<std::string, std::string> logicals_;    // name in lower case -> base
  std::map<std::string, Located> located_;         // by their high qualifier
  std::map<std::string, std::string> selections_;  // selection -> the high qualifier under which it is known
  Connections connections_;
  Listed listed_;
  std::vector<std::shared_ptr<StagedBlock>> blocks_;
  std::vector<std::int64_t> dropped_;         // stored data blocks that go when the run is closed
  std::vector<std::unique_ptr<Unit>> units_;  // unit n stands at n - 1; null for one that is gone
  std::vector<std::int64_t> closed_;          // units of stored blocks that go with the next one
};

}  // namespace qsrv

#endif
