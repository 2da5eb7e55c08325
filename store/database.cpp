// The open database: files, dictionary, selections.
#include "database.h"

#include <algorithm>

#include "masterfile.h"

namespace qsrv {
namespace {

constexpr const char *kMaster = ".MASTER";
constexpr const char *kLasting = ".DBALL";
constexpr const char *kScratch = ".DBSBR";

// ---- qualifiers ----------------------------------------------------------------------------------------------------

// Qualifiers that every data block has, with the values that stand where a command gives none.
const Qualifiers &default_qualifiers() {
  static const Qualifiers defaults{{"desiter", "0"}, {"highqual", "0"}, {"peid", "0"},   {"projno", "1"},
                                   {"selabel", ""},  {"stepcur", "0"},  {"version", "1"}};
  return defaults;
}

std::string without_trailing_blanks(const std::string &text) { return text.substr(0, text.find_last_not_of(' ') + 1); }

bool is_control(char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; }

bool is_plain(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '+' || c == '-' ||
         c == '.' || c == '_' || (static_cast<unsigned char>(c) & 0x80) != 0;
}

// A value is refused when a list of the dictionary could not show it so that it is found again.
void check_qualifier(const std::string &name, const std::string &value) {
  const bool fits = name == "selabel"
                        ? std::none_of(value.begin(), value.end(), [](char c) { return c == '\'' || is_control(c); })
                        : std::all_of(value.begin(), value.end(), is_plain);
  if (!fits) throw Failure{Status::bad_qualifier};
}

Qualifiers qualifiers_from(const Terms &terms) {
  Qualifiers qualifiers = default_qualifiers();
  for (const Term &term : terms) {
    if (!term.has_value || term.matches_all()) throw Failure{Status::bad_qualifier};
    const std::string value = without_trailing_blanks(term.value);
    check_qualifier(term.name, value);
    qualifiers[term.name] = value;
  }
  return qualifiers;
}

std::string value_of(const Qualifiers &qualifiers, const std::string &name) {
  const auto place = qualifiers.find(name);
  return place == qualifiers.end() ? std::string() : place->second;
}

// True when every term holds. "wildcard=true" says only that qualifiers that are not named may have any value.
bool holds(const Terms &where, const Qualifiers &qualifiers) {
  return std::all_of(where.begin(), where.end(), [&](const Term &term) {
    if (term.name == "wildcard" || term.matches_all()) return true;
    return value_of(qualifiers, term.name) == without_trailing_blanks(term.value);
  });
}

// New values: of another qualifier of the block when the value is the name of one, else the value itself.
Qualifiers converted(const Terms &convert, const Qualifiers &qualifiers) {
  Qualifiers result = qualifiers;
  for (const Term &term : convert) {
    const auto source = term.quoted ? qualifiers.end() : qualifiers.find(lower_case(term.value));
    result[term.name] = source != qualifiers.end() ? source->second : term.value;
  }
  return result;
}

// ---- lists ---------------------------------------------------------------------------------------------------------

struct Column {
  std::string heading;
  std::vector<std::string> values;
  std::size_t width = 0;
};

// Labels stand between quotes, the opening one just ahead of the column.
Column column_of(const Term &term, const std::vector<Qualifiers> &rows) {
  const bool label = term.name == "selabel";
  const std::string heading = term.has_value ? term.value : upper_case(term.name);
  Column column{label ? " " + heading : heading, {}, 0};
  column.width = column.heading.size();
  for (const Qualifiers &row : rows) {
    const std::string value = value_of(row, term.name);
    column.values.push_back(label ? "'" + value + "'" : value);
    column.width = std::max(column.width, column.values.back().size());
  }
  return column;
}

std::string padded(const std::string &text, std::size_t width) {
  return text + std::string(width - std::min(width, text.size()) + 1, ' ');
}

std::string table(const std::vector<Column> &columns, std::size_t rows) {
  std::string head;
  std::string rule;
  for (const Column &column : columns) {
    head += padded(column.heading, column.width);
    rule += std::string(column.width, '-') + ' ';
  }
  std::string text = head + '\n' + rule + '\n';
  for (std::size_t row = 0; row < rows; ++row) {
    for (const Column &column : columns) text += padded(column.values[row], column.width);
    text += '\n';
  }
  return text;
}

// ---- files ---------------------------------------------------------------------------------------------------------

// The base name of a ".MASTER" file.
std::string base_of(const std::string &path) {
  const std::size_t suffix = path.rfind(kMaster);
  return suffix == std::string::npos ? path : path.substr(0, suffix);
}

// The data file of a database that exists, opened for an access.
std::shared_ptr<DataFile> open_data(const std::string &base, DataFile::Access access) {
  for (const char *suffix : {kLasting, kScratch}) {
    if (!file_exists(base + suffix)) continue;
    auto file = std::make_shared<DataFile>(base + suffix, access);
    file->require_store();
    return file;
  }
  throw Failure{Status::not_opened};
}

}  // namespace

// ---- life ----------------------------------------------------------------------------------------------------------

std::unique_ptr<Database> Database::open(const std::string &base) {
  if (!file_exists(base + kMaster)) throw Failure{Status::not_opened};
  std::shared_ptr<DataFile> file = open_data(base, DataFile::Access::write);
  file->begin(false);
  return std::unique_ptr<Database>(new Database(base, std::move(file)));
}

std::unique_ptr<Database> Database::create(const std::string &base, const std::string &text) {
  const Command command = parse_command(text);
  const bool lasting = command.verb == "dbsetdel" && command.items.count("dball") == 1;
  const bool scratch = command.verb == "init" && command.items.count("dbsbr") == 1;
  if (!lasting && !scratch) throw Failure{Status::bad_command};
  if (file_exists(base + kMaster)) throw Failure{Status::exists};

  auto file = std::make_shared<DataFile>(base + (scratch ? kScratch : kLasting),
                                         scratch ? DataFile::Access::scratch : DataFile::Access::write);
  // The lock keeps others out; a database that one of them has finished meanwhile is not touched.
  file->begin(true);
  if (file_exists(base + kMaster)) throw Failure{Status::exists};
  file->create_tables();
  file->commit();
  file->begin(false);
  create_master(base + kMaster);
  return std::unique_ptr<Database>(new Database(base, std::move(file)));
}

Database::~Database() { file_->roll_back(); }

void Database::close() {
  units_.clear();
  located_.clear();
  if (spoiled_) {
    file_->roll_back();
    throw Failure{Status::not_written};
  }
  file_->drop_unkept();
  file_->commit();
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
  if (path.size() != 1 || path[0].name.empty()) throw Failure{Status::bad_command};
  logicals_[name] = path[0].name;
}

// dblocate logical=name datablk=(name) where(...) convert(...): makes blocks of another database known in this one.
void Database::locate(const Command &command) {
  command.allow_only({"logical", "datablk", "where", "convert"});
  const auto logical = logicals_.find(lower_case(command.name_of("logical")));
  if (logical == logicals_.end()) throw Failure{Status::unknown_logical};
  const std::string &name = command.name_of("datablk");
  const Terms &where = command.optional_item("where");
  const Terms &convert = command.optional_item("convert");
  const std::shared_ptr<DataFile> file = open_data(base_of(logical->second), DataFile::Access::read);
  for (BlockEntry &block : file->blocks()) {
    if (block.name != name || !holds(where, block.qualifiers)) continue;
    block.qualifiers = converted(convert, block.qualifiers);
    located_.push_back({file, std::move(block), false});
  }
}

// The known blocks that a command selects, those of the database first.
std::vector<Database::Known> Database::select(const Command &command) {
  const std::string &name = command.name_of("datablk");
  const Terms &where = command.optional_item("where");
  std::vector<Known> selected;
  for (BlockEntry &block : file_->blocks())
    if (block.name == name && holds(where, block.qualifiers)) selected.push_back({file_, std::move(block), true});
  for (const Known &known : located_)
    if (known.block.name == name && holds(where, known.block.qualifiers)) selected.push_back(known);
  return selected;
}

std::string Database::list(const Command &command) {
  if (command.verb != "dbdict") throw Failure{Status::bad_command};
  command.allow_only({"datablk", "where", "select"});
  const Terms &wanted = command.item("select");
  std::vector<Qualifiers> rows;
  for (Known &known : select(command)) rows.push_back(std::move(known.block.qualifiers));
  if (rows.empty()) return {};
  std::vector<Column> columns;
  for (const Term &term : wanted) columns.push_back(column_of(term, rows));
  return table(columns, rows.size());
}

int Database::attach(const Command &command, int &unit) {
  unit = 0;
  if (!command.verb.empty()) throw Failure{Status::bad_command};
  command.allow_only({"datablk", "where"});
  std::vector<Known> selected = select(command);
  if (!selected.empty()) unit = add_unit(std::move(selected[0].file), selected[0].block.id, selected[0].ours);
  return static_cast<int>(selected.size());
}

int Database::create_block(const Command &command) {
  if (command.verb != "dbcreate") throw Failure{Status::bad_command};
  command.allow_only({"datablk", "quals"});
  const std::string &name = command.name_of("datablk");
  const Qualifiers qualifiers = qualifiers_from(command.optional_item("quals"));
  return add_unit(file_, file_->add_block(name, qualifiers), true);
}

int Database::add_unit(std::shared_ptr<DataFile> file, std::int64_t block, bool ours) {
  units_.push_back(std::make_unique<Unit>(std::move(file), block, ours));
  return static_cast<int>(units_.size());
}

Unit &Database::unit(std::int64_t number) {
  if (number < 1 || number > static_cast<std::int64_t>(units_.size())) throw Failure{Status::bad_unit};
  return *units_[static_cast<std::size_t>(number - 1)];
}

}  // namespace qsrv
