// The open database: files, dictionary, selections.
#include "database.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>

#include "masterfile.h"
#include "signals.h"

namespace qsrv {
namespace {

constexpr const char *kMaster = ".MASTER";
constexpr const char *kLasting = ".DBALL";
constexpr const char *kScratch = ".DBSBR";

// The base name of a ".MASTER" file.
std::string base_of(const std::string &path) {
  const std::size_t suffix = path.rfind(kMaster);
  return suffix == std::string::npos ? path : path.substr(0, suffix);
}

// Throws not_opened unless files of a new database could stand under the name, with what SQLite puts beside them.
void require_room_for(const std::string &base) {
  constexpr std::size_t kLongestPath = 480;  // SQLite takes 512 characters
  const std::string directory = directory_of(base);
  const bool writable = ::faccessat(AT_FDCWD, directory.c_str(), W_OK | X_OK, AT_EACCESS) == 0;
  const std::unique_ptr<char, decltype(&std::free)> real(::realpath(directory.c_str(), nullptr), &std::free);
  const std::size_t length = base.size() + (real && !base.starts_with('/') ? std::string_view(real.get()).size() : 0);
  const bool fits = ::access((base + kLasting + "-journal").c_str(), F_OK) == 0 || errno != ENAMETOOLONG;
  if (!writable || !real || length > kLongestPath || !fits) throw Failure{Status::not_opened};
}

std::int64_t row_of(const Command &command) {
  if (command.items.count("row") == 0) return 0;
  const std::string &text = command.name_of("row");
  std::int64_t row = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), row);
  if (error != std::errc() || end != text.data() + text.size() || row < 1) throw Failure{Status::bad_command};
  return row;
}

// A text that two selections share when nothing but the high qualifier tells them apart.
std::string selection_text(const std::string &base, const std::string &name, const Conditions &where,
                           const Changes &changes, std::int64_t row) {
  std::string text = base + '\0' + name + '\0' + std::to_string(row) + '\0';
  for (const Condition &condition : where) text += std::to_string(condition.qualifier) + condition.value + '\0';
  text += '\0';
  for (const Change &change : changes)
    if (change.target != kHighQualifier)
      text +=
          std::to_string(change.target) + (change.source ? std::to_string(*change.source) : '=' + change.value) + '\0';
  return text;
}

}  // namespace

// ---- connections ---------------------------------------------------------------------------------------------------

std::shared_ptr<DataFile> Connections::get(const std::string &base) {
  constexpr std::size_t kMostUnused = 8;
  const auto place = std::find_if(kept_.begin(), kept_.end(), [&](const Kept &each) { return each.base == base; });
  if (place != kept_.end()) {
    Kept found = std::move(*place);
    kept_.erase(place);
    // While a data block of it is read, the file is seen in one state.
    if (found.file->is_held() || found.file->is_current()) {
      kept_.push_back(found);
      return found.file;
    }
  }
  if (!file_exists(base + kLasting)) throw Failure{Status::not_opened};
  auto file = std::make_shared<DataFile>(base + kLasting, DataFile::Access::read);
  const auto is_unused = [](const Kept &each) { return each.file.use_count() == 1; };
  while (static_cast<std::size_t>(std::count_if(kept_.begin(), kept_.end(), is_unused)) >= kMostUnused)
    kept_.erase(std::find_if(kept_.begin(), kept_.end(), is_unused));
  kept_.push_back({base, file});
  return file;
}

// ---- life ----------------------------------------------------------------------------------------------------------

std::unique_ptr<Database> Database::open(const std::string &base) {
  if (!file_exists(base + kMaster)) throw Failure{Status::not_opened};
  if (!file_exists(base + kLasting) && file_exists(base + kScratch)) {
    ::unlink((base + kScratch).c_str());  // what a scratch database held went when it was closed
    return std::unique_ptr<Database>(new Database(base, Kind::scratch, Stage::named(base + kScratch)));
  }
  const SignalPause pause;
  DataFile(base + kLasting, DataFile::Access::write);
  return std::unique_ptr<Database>(new Database(base, Kind::lasting, nullptr));
}

std::unique_ptr<Database> Database::create(const std::string &base, const std::string &text) {
  const Command command = parse_command(text);
  if (command.items.size() != 1) throw Failure{Status::bad_command};
  if (command.verb == "init" && command.items.count("dbsbr") == 1) return create_scratch(base);
  if (command.items.count("dball") == 0) throw Failure{Status::bad_command};
  if (command.verb == "dbsetdel") return create_lasting(base);
  if (command.verb != "dbrepair") throw Failure{Status::bad_command};
  repair(base);
  return open(base);
}

std::unique_ptr<Database> Database::create_scratch(const std::string &base) {
  if (file_exists(base + kMaster)) throw Failure{Status::exists};
  const SignalPause pause;
  std::shared_ptr<Stage> stage = Stage::named(base + kScratch);
  try {
    create_master(base + kMaster);
  } catch (...) {
    ::unlink((base + kScratch).c_str());
    throw;
  }
  return std::unique_ptr<Database>(new Database(base, Kind::scratch, std::move(stage)));
}

// Nothing is made before there is something to keep. One that another process has made meanwhile is joined.
std::unique_ptr<Database> Database::create_lasting(const std::string &base) {
  if (file_exists(base + kMaster)) return open(base);
  require_room_for(base);
  if (file_exists(base + kLasting)) {
    const SignalPause pause;
    DataFile file(base + kLasting, DataFile::Access::create);
    if (file.has_blocks() && !file_exists(base + kMaster)) throw Failure{Status::lost_master};
  }
  return std::unique_ptr<Database>(new Database(base, Kind::new_lasting, nullptr));
}

void Database::repair(const std::string &base) {
  const SignalPause pause;
  if (!file_exists(base + kLasting)) throw Failure{Status::not_opened};
  DataFile file(base + kLasting, DataFile::Access::write);
  file.verify();
  if (!file.begin()) throw Failure{Status::busy};
  if (!file_exists(base + kMaster)) create_master(base + kMaster);
  file.commit();
  file.use_log();
}

void Database::close() {
  units_.clear();
  located_.clear();
  connections_ = {};
  if (spoiled_) throw Failure{Status::not_written};
  if (kind_ == Kind::scratch || !has_work()) return;
  const SignalPause pause;
  if (SignalPause::interrupted()) throw Failure{Status::not_written};
  store_all();
}

// ---- storing -------------------------------------------------------------------------------------------------------

// A run that was to store something and kept nothing leaves everything as it was; so a new database does not appear.
bool Database::has_work() const {
  const bool kept = std::any_of(blocks_.begin(), blocks_.end(), [](const auto &block) { return block->is_kept(); });
  return kept || !dropped_.empty() || (kind_ == Kind::new_lasting && !attempted_);
}

void Database::store_all() {
  constexpr int kMostTries = 100;
  const bool is_new = kind_ == Kind::new_lasting;
  for (int i = 0; i < kMostTries; ++i) {
    DataFile file(base_ + kLasting, is_new ? DataFile::Access::create : DataFile::Access::write);
    if (!file.begin()) continue;  // the file was taken away, as by another creator that failed
    store_into(file);
    file.use_log();
    return;
  }
  throw Failure{Status::busy};
}

// The ".MASTER" file appears last, so that whoever sees it finds the tables.
void Database::store_into(DataFile &file) {
  const bool makes_master = !file_exists(base_ + kMaster);
  if (makes_master && (kind_ != Kind::new_lasting || file.has_blocks())) {
    file.roll_back();
    throw Failure{Status::lost_master};
  }
  bool made_master = false;
  try {
    for (const std::int64_t id : dropped_) file.drop(id);
    for (const std::shared_ptr<StagedBlock> &block : blocks_)
      if (block->is_kept()) file.store(*block);
    file.shrink();
    if (makes_master) create_master(base_ + kMaster);
    made_master = makes_master;
    file.commit();
  } catch (...) {
    // Others that wait for the lock find that the file is gone.
    if (made_master) ::unlink((base_ + kMaster).c_str());
    if (makes_master && !file_exists(base_ + kMaster)) ::unlink((base_ + kLasting).c_str());
    file.roll_back();
    throw;
  }
}

// ---- commands ------------------------------------------------------------------------------------------------------

void Database::run(const Command &command) {
  if (command.verb == "assign")
    assign(command);
  else if (command.verb == "dblocate")
    locate(command);
  else
    throw Failure{Status::bad_command};
}

// assign name='path'
void Database::assign(const Command &command) {
  if (command.items.size() != 1) throw Failure{Status::bad_command};
  const auto &[name, path] = *command.items.begin();
  logicals_[name] = base_of(command.name_of(name));
}

// dblocate logical=name datablk=(name) where(...) convert(...) [row=n]
void Database::locate(const Command &command) {
  command.allow_only({"logical", "datablk", "where", "convert", "row"});
  const std::string name = lower_case(command.name_of("logical"));
  const auto logical = logicals_.find(name);
  if (logical == logicals_.end()) throw Failure{Status::unknown_logical};
  Located located{logical->second,
                  command.name_of("datablk"),
                  conditions_of(command.optional_item("where")),
                  changes_of(command.optional_item("convert")),
                  row_of(command),
                  name,
                  {}};
  connections_.get(located.base);
  located.selection = selection_text(located.base, located.name, located.where, located.changes, located.row);
  std::string high;
  for (const Change &change : located.changes)
    if (change.target == kHighQualifier && !change.source) high = change.value;

  // The same data blocks under a new high qualifier take the place of those under the old one, whose logical name has
  // done its work.
  const auto [known, is_new] = selections_.try_emplace(located.selection, high);
  if (!is_new && known->second != high) {
    if (const auto old = located_.find(known->second); old != located_.end() && old->second.selection == known->first) {
      if (old->second.logical != name) logicals_.erase(old->second.logical);
      located_.erase(old);
    }
    known->second = high;
  }
  if (const auto old = located_.find(high); old != located_.end() && old->second.selection != located.selection)
    selections_.erase(old->second.selection);
  located_.insert_or_assign(high, std::move(located));
}

void Database::select_own(const std::string &name, const Conditions &where, std::vector<Known> &selected) {
  if (kind_ == Kind::lasting) {
    const std::shared_ptr<DataFile> file = connections_.get(base_);
    const auto state = std::make_shared<Snapshot>(file);
    for (BlockEntry &entry : file->find(name, where))
      selected.push_back({file, state, nullptr, std::move(entry), 0, true});
  }
  for (const std::shared_ptr<StagedBlock> &block : blocks_) {
    if (!block->is_kept() || block->name() != name || !holds(where, block->qualifiers())) continue;
    const auto same = std::find_if(selected.begin(), selected.end(),
                                   [&](const Known &known) { return known.entry.qualifiers == block->qualifiers(); });
    Known known{nullptr, nullptr, block, {0, 0, block->qualifiers()}, 0, true};
    if (same != selected.end())
      *same = std::move(known);
    else
      selected.push_back(std::move(known));
  }
  std::int64_t row = 0;
  for (Known &known : selected) known.row = ++row;
}

void Database::select_located(const Located &located, const Conditions &where, std::vector<Known> &selected) {
  const std::optional<Conditions> narrowing = before(located.changes, where);
  if (!narrowing) return;
  const std::shared_ptr<DataFile> file = connections_.get(located.base);
  const auto state = std::make_shared<Snapshot>(file);
  std::int64_t row = located.row;
  const auto add = [&](BlockEntry &entry) {
    entry.qualifiers = changed(located.changes, entry.qualifiers);
    selected.push_back({file, state, nullptr, std::move(entry), row, false});
  };
  if (located.row != 0) {
    for (BlockEntry &entry : file->find_row(located.name, located.where, located.row))
      if (holds(*narrowing, entry.qualifiers)) add(entry);
    return;
  }
  Conditions all = located.where;
  all.insert(all.end(), narrowing->begin(), narrowing->end());
  for (BlockEntry &entry : file->find(located.name, all)) {
    ++row;
    add(entry);
  }
}

// The known blocks that a command selects, those of the database first.
std::vector<Database::Known> Database::select(const Command &command) {
  const std::string &name = command.name_of("datablk");
  const Conditions where = conditions_of(command.optional_item("where"));
  std::vector<Known> selected;
  select_own(name, where, selected);
  for (const auto &[high, located] : located_)
    if (located.name == name) select_located(located, where, selected);
  return selected;
}

std::string Database::list_selected(const Command &command) {
  std::vector<ListRow> rows;
  for (Known &known : select(command)) rows.push_back({known.row, std::move(known.entry.qualifiers)});
  return rows.empty() ? std::string() : list_text(rows, command.item("select"));
}

// The only located selection that can have data blocks that meet the conditions, when no others can.
const Database::Located *Database::only_located(const std::string &name, const Conditions &where) const {
  const bool has_own = kind_ != Kind::scratch || std::any_of(blocks_.begin(), blocks_.end(),
                                                             [&](const auto &block) { return block->name() == name; });
  const Located *only = nullptr;
  for (const auto &[high, located] : located_) {
    if (located.name != name || !before(located.changes, where)) continue;
    if (only != nullptr) return nullptr;
    only = &located;
  }
  return has_own ? nullptr : only;
}

std::string Database::list(const Command &command) {
  if (command.verb != "dbdict") throw Failure{Status::bad_command};
  command.allow_only({"datablk", "where", "select"});
  const Terms &columns = command.item("select");
  const Conditions where = conditions_of(command.optional_item("where"));
  const Located *located = only_located(command.name_of("datablk"), where);
  const bool shows_high = std::any_of(columns.begin(), columns.end(),
                                      [](const Term &term) { return term.name == kQualifierNames[kHighQualifier]; });
  if (located == nullptr || shows_high) return list_selected(command);

  std::string question = located->selection + '\0';
  for (const Term &term : columns) question += term.name + '=' + term.value + '\0';
  const Conditions narrowing = before(located->changes, where).value_or(Conditions());
  for (const Condition &condition : narrowing) question += std::to_string(condition.qualifier) + condition.value + '\0';
  const Snapshot state(connections_.get(located->base));
  const std::string version = state.file().version();
  if (listed_.version != version || listed_.question != question) listed_ = {version, question, list_selected(command)};
  return listed_.text;
}

// ---- units ---------------------------------------------------------------------------------------------------------

int Database::attach(const Command &command, int &unit) {
  unit = 0;
  if (!command.verb.empty()) throw Failure{Status::bad_command};
  command.allow_only({"datablk", "where"});
  const std::vector<Known> selected = select(command);
  if (selected.empty()) return 0;
  const Known &first = selected[0];
  if (first.staged) {
    unit = add_unit(std::make_unique<Unit>(first.staged));
  } else {
    std::shared_ptr<StagedBlock> rewrite;
    if (first.ours) rewrite = new_block(command.name_of("datablk"), first.entry.qualifiers);
    unit = add_unit(std::make_unique<Unit>(first.file, first.entry.id, std::move(rewrite)));
  }
  return static_cast<int>(selected.size());
}

int Database::create_block(const std::string &text) {
  attempted_ = true;
  const Command command = parse_command(text);
  if (command.verb != "dbcreate") throw Failure{Status::bad_command};
  command.allow_only({"datablk", "quals"});
  const std::string &name = command.name_of("datablk");
  return add_unit(std::make_unique<Unit>(new_block(name, qualifiers_from(command.optional_item("quals"), name))));
}

std::shared_ptr<StagedBlock> Database::new_block(const std::string &name, const Qualifiers &qualifiers) {
  if (!stage_) stage_ = Stage::beside(base_ + kLasting);
  blocks_.push_back(std::make_shared<StagedBlock>(stage_, name, qualifiers));
  return blocks_.back();
}

int Database::add_unit(std::unique_ptr<Unit> unit) {
  for (const std::int64_t number : closed_) {
    std::unique_ptr<Unit> &closed = units_[static_cast<std::size_t>(number - 1)];
    if (closed && closed->is_closed()) closed.reset();
  }
  closed_.clear();
  units_.push_back(std::move(unit));
  return static_cast<int>(units_.size());
}

Unit &Database::unit(std::int64_t number) {
  if (number < 1 || number > static_cast<std::int64_t>(units_.size()) || !units_[static_cast<std::size_t>(number - 1)])
    throw Failure{Status::bad_unit};
  return *units_[static_cast<std::size_t>(number - 1)];
}

void Database::close_unit(std::int64_t number, bool keep) {
  const bool is_gone = number >= 1 && number <= static_cast<std::int64_t>(units_.size()) &&
                       !units_[static_cast<std::size_t>(number - 1)];
  if (is_gone) return;  // it was closed before
  Unit &closing = unit(number);
  closing.close(keep);
  if (closing.dropped()) dropped_.push_back(*closing.dropped());
  if (closing.is_stored()) closed_.push_back(number);
}

}  // namespace qsrv
