// Commands: a scanner, and a parser by recursive descent over the grammar of the header.
#include "command.h"

#include <algorithm>

#include "status.h"

namespace qsrv {
namespace {

enum class Kind { word, quoted, symbol, end };

struct Token {
  Kind kind = Kind::end;
  std::string text;

  [[nodiscard]] bool is(char symbol) const { return kind == Kind::symbol && text[0] == symbol; }
};

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kSymbols = "=(),;";

[[noreturn]] void refuse() { throw Failure{Status::bad_command}; }

// ---- scanner -------------------------------------------------------------------------------------------------------

class Scanner {
 public:
  explicit Scanner(std::string_view text) : rest_(text) { advance(); }

  [[nodiscard]] const Token &token() const { return token_; }

  void advance() {
    const std::size_t start = rest_.find_first_not_of(kBlanks);
    rest_.remove_prefix(std::min(start, rest_.size()));
    if (rest_.empty())
      token_ = {};
    else if (rest_.front() == '\'')
      token_ = {Kind::quoted, take_quoted()};
    else if (kSymbols.find(rest_.front()) != std::string_view::npos)
      token_ = {Kind::symbol, take(1)};
    else
      token_ = {Kind::word, take(std::min(rest_.find_first_of(" \t\r\n=(),;'"), rest_.size()))};
  }

  void expect(char symbol) {
    if (!token_.is(symbol)) refuse();
    advance();
  }

 private:
  std::string take(std::size_t length) {
    std::string text(rest_.substr(0, length));
    rest_.remove_prefix(length);
    return text;
  }

  // A text between single quotes; two quotes in a row stand for one.
  std::string take_quoted() {
    std::string text;
    rest_.remove_prefix(1);
    while (true) {
      const std::size_t quote = rest_.find('\'');
      if (quote == std::string_view::npos) refuse();
      text += take(quote);
      rest_.remove_prefix(1);
      if (!rest_.starts_with('\'')) return text;
      text += take(1);
    }
  }

  std::string_view rest_;
  Token token_;
};

// ---- parser --------------------------------------------------------------------------------------------------------

bool separates(const Token &token) {
  return token.is(';') || token.is(',') || (token.kind == Kind::word && lower_case(token.text) == "and");
}

bool is_value(const Token &token) { return token.kind == Kind::word || token.kind == Kind::quoted; }

// Behind "=" every word is a value, also one that separates elsewhere.
Term parse_term(Scanner &scanner) {
  Term term;
  if (scanner.token().kind != Kind::word) refuse();
  term.name = lower_case(scanner.token().text);
  scanner.advance();
  if (!scanner.token().is('=')) return term;
  scanner.advance();
  if (!is_value(scanner.token())) refuse();
  term.has_value = true;
  term.quoted = scanner.token().kind == Kind::quoted;
  term.value = scanner.token().text;
  scanner.advance();
  return term;
}

// Terms between brackets.
Terms parse_list(Scanner &scanner) {
  Terms terms;
  scanner.expect('(');
  while (separates(scanner.token())) scanner.advance();
  while (!scanner.token().is(')')) {
    terms.push_back(parse_term(scanner));
    if (!separates(scanner.token()) && !scanner.token().is(')')) refuse();
    while (separates(scanner.token())) scanner.advance();
  }
  scanner.advance();
  return terms;
}

// What follows an item's name: (list), =(list), =value, ='value'.
Terms parse_item(Scanner &scanner) {
  if (scanner.token().is('=')) scanner.advance();
  if (scanner.token().is('(')) return parse_list(scanner);
  if (!is_value(scanner.token())) refuse();
  Term term;
  term.name = scanner.token().text;
  term.quoted = scanner.token().kind == Kind::quoted;
  scanner.advance();
  return {term};
}

template <class Change>
std::string changed(std::string_view text, Change change) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(), change);
  return result;
}

}  // namespace

std::string lower_case(std::string_view text) {
  return changed(text, [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
}

std::string upper_case(std::string_view text) {
  return changed(text, [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
}

const Terms &Command::item(const std::string &name) const {
  const auto place = items.find(name);
  if (place == items.end()) refuse();
  return place->second;
}

const Terms &Command::optional_item(const std::string &name) const {
  static const Terms none;
  const auto place = items.find(name);
  return place == items.end() ? none : place->second;
}

void Command::allow_only(std::initializer_list<std::string_view> names) const {
  for (const auto &[name, terms] : items)
    if (std::find(names.begin(), names.end(), name) == names.end()) refuse();
}

const std::string &Command::name_of(const std::string &name) const {
  const Terms &terms = item(name);
  if (terms.size() != 1 || terms[0].has_value || terms[0].name.empty()) refuse();
  return terms[0].name;
}

Command parse_command(std::string_view text) {
  Command command;
  Scanner scanner(text);
  while (scanner.token().kind != Kind::end) {
    if (scanner.token().kind != Kind::word) refuse();
    const std::string name = lower_case(scanner.token().text);
    scanner.advance();
    const bool has_terms = scanner.token().is('=') || scanner.token().is('(');
    if (has_terms) {
      if (!command.items.emplace(name, parse_item(scanner)).second) refuse();
    } else if (command.verb.empty() && command.items.empty()) {
      command.verb = name;
    } else if (!command.items.emplace(name, Terms{}).second) {
      refuse();
    }
  }
  return command;
}

}  // namespace qsrv
