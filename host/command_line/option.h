// What can stand on the command line, as tables: one for every command and one for all of them. The program reads its
// arguments by these, and its help, its manual page and what a shell completes are made from them.
#pragma once

#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

namespace host {

struct GlobalOptions;

/// Given or not.
struct Flag {
  bool* target;
};

/// A flag that is answered with a text instead of a run.
struct Question {};

/// The name of a file.
struct File {
  std::string* target;
};

/// A whole number in decimal.
struct Number {
  int* target;
  int least;
  int most;
};

/// A flag, or a whole number in decimal behind its equals sign: "--watch", "--watch=60".
struct FlagOrNumber {
  int* target;
  int standard;  ///< of the flag alone
  int least;
  int most;
};

/// One of a few words. As an argument it has to be given.
struct Word {
  std::string* target;
  std::vector<std::string> words;
};

/// Some of a few words, with commas between them; "+" before the first comes as a word of its own.
struct WordList {
  std::string noun;  ///< what each is: "column"
  std::vector<std::string>* target;
  std::vector<std::string> words;
};

/// Any number of texts. Of a command's arguments one at most is such a list.
struct Texts {
  std::vector<std::string>* target;
  /// Finds those that a shell can complete, by the options on the line; null: there are none.
  std::vector<std::string> (*known)(const GlobalOptions& options) = nullptr;
};

/// An option, or an argument.
struct Option {
  std::string name;       ///< "--seconds"; an argument's has no dashes: "DEVICE"
  std::string valueName;  ///< what stands for an option's value: "FILE"
  std::string help;       ///< in a line
  std::variant<Flag, Question, File, Number, FlagOrNumber, Word, WordList, Texts> value;
  std::string letter = {};                 ///< the short form: "-h"
  std::string insteadOf = {};              ///< the argument whose place it takes: one of the two has to be given
  std::vector<std::string> excludes = {};  ///< options that cannot be given beside it
  bool isNeeded = false;                   ///< of a list or a file: something has to be given
  std::string onlyWith = {};               ///< the argument's word beside which alone it can be given
  std::string group = {};                  ///< its heading in the help of all commands

  [[nodiscard]] bool isArgument() const { return !name.starts_with('-'); }
  [[nodiscard]] bool isFlag() const {
    return std::holds_alternative<Flag>(value) || std::holds_alternative<Question>(value);
  }
  /// Whether its value stands behind an equals sign or not at all; never is it the next word.
  [[nodiscard]] bool mayHaveValue() const { return std::holds_alternative<FlagOrNumber>(value); }
  [[nodiscard]] bool isList() const { return std::holds_alternative<Texts>(value); }
};

/// Something on the command line that the tables do not allow.
struct WrongUsage : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// The options of the one table and then those of the other.
[[nodiscard]] std::vector<Option> both(std::vector<Option> first, const std::vector<Option>& second);

/// The option with its value, "-h, --help", "--seconds N" or "--watch[=SECONDS]", or what stands for the argument:
/// "DEVICE...", "on|off".
[[nodiscard]] std::string wordsOf(const Option& option);

/// The help, and what the option cannot be given with.
[[nodiscard]] std::string helpOf(const Option& option);

/// The option of this name or letter; null: none is.
[[nodiscard]] const Option* findOption(const std::vector<Option>& options, const std::string& word);

/// "on, off or show".
[[nodiscard]] std::string alternatives(const std::vector<std::string>& words);

}  // namespace host
