// Follows the words of a line along the tables of options.
#include "host/command_line/completion.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <set>
#include <utility>

#include "host/command_line/given_words.h"
#include "host/command_line/shell_words.h"

namespace host {
namespace {

using Words = std::vector<std::string>;
using Commands = std::vector<std::unique_ptr<Command>>;

bool contains(const Words& words, const std::string& word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

class Line {
 public:
  Line(std::vector<Option> options, const GlobalOptions& given, const Commands& commands)
      : options_(std::move(options)), given_(given), commands_(commands) {}

  /// Takes a whole word, in the order of the line.
  void take(const std::string& word) {
    if (open_) {
      takeValue(*std::exchange(open_, std::nullopt), word);
    } else if (word == "--") {
      onlyArguments_ = true;
    } else if (isOption(word)) {
      takeOption(word);
    } else if (commandWord_.empty()) {
      takeCommand(word);
    } else {
      arguments_.push_back(word);
    }
  }

  /// What can follow when so much of the next word is known.
  [[nodiscard]] Words next(const std::string& begun) const {
    if (open_) return valuesOf(*open_);
    const size_t equalsSign = begun.find('=');
    if (isOption(begun) && equalsSign != std::string::npos) {
      const Option* option = findOption(options_, begun.substr(0, equalsSign));
      Words values = option == nullptr ? Words{} : valuesOf(*option);
      if (values == Words{kFileFollows}) return values;
      for (std::string& value : values) value.insert(0, begun, 0, equalsSign + 1);
      return values;
    }
    if (isOption(begun)) return optionsLeft();
    if (commandWord_.empty() || (asksForHelp() && arguments_.empty())) return commandNames();
    return command_ == nullptr ? Words{} : arguments();
  }

 private:
  [[nodiscard]] bool asksForHelp() const { return commandWord_ == kHelpCommand; }
  [[nodiscard]] bool isOption(const std::string& word) const { return !onlyArguments_ && word.starts_with('-'); }

  void takeOption(const std::string& word) {
    const size_t equalsSign = word.find('=');
    const Option* option = findOption(options_, word.substr(0, equalsSign));
    if (option == nullptr) return;
    seen_.push_back(option->name);
    if (option->isFlag() || option->mayHaveValue()) return;
    if (equalsSign == std::string::npos) {
      open_ = *option;
    } else {
      takeValue(*option, word.substr(equalsSign + 1));
    }
  }

  static void takeValue(const Option& option, const std::string& value) {
    if (const auto* file = std::get_if<File>(&option.value)) *file->target = value;
  }

  void takeCommand(const std::string& word) {
    commandWord_ = word;
    command_ = findCommand(commands_, word);
    if (command_ == nullptr) return;
    const std::vector<Option> own = command_->options();
    options_.insert(options_.end(), own.begin(), own.end());
  }

  [[nodiscard]] Words valuesOf(const Option& option) const {
    if (std::holds_alternative<File>(option.value)) return {kFileFollows};
    if (const auto* word = std::get_if<Word>(&option.value)) return word->words;
    if (const auto* list = std::get_if<WordList>(&option.value)) return list->words;
    const auto* texts = std::get_if<Texts>(&option.value);
    return texts != nullptr && texts->known != nullptr ? texts->known(given_) : Words{};
  }

  [[nodiscard]] Words optionsLeft() const {
    Words names;
    for (const Option& option : options_) {
      if (!option.isArgument() && !contains(seen_, option.name)) names.push_back(option.name);
    }
    return names;
  }

  [[nodiscard]] Words commandNames() const {
    Words names;
    for (const auto& command : commands_) names.push_back(command->name());
    if (!asksForHelp()) names.emplace_back(kHelpCommand);
    return names;
  }

  /// Whether an option was given that takes the argument's place.
  [[nodiscard]] bool isReplaced(const Option& argument) const {
    return std::any_of(options_.begin(), options_.end(), [&](const Option& option) {
      return option.insteadOf == argument.name && contains(seen_, option.name);
    });
  }

  /// Of the arguments that the table has behind those on the line. A list goes on until the argument behind it comes.
  [[nodiscard]] Words arguments() const {
    Words words;
    size_t place = 0;
    bool isListBefore = false;
    bool listIsEmpty = false;
    for (const Option& argument : options_) {
      if (!argument.isArgument()) continue;
      const Words values = argument.isList() && isReplaced(argument) ? Words{} : valuesOf(argument);
      if (argument.isList()) {
        isListBefore = true;
        listIsEmpty = arguments_.empty() && !isReplaced(argument);
        words = values;
      } else if (isListBefore) {
        const bool hasCome = !arguments_.empty() && contains(values, arguments_.back());
        if (hasCome) return {};
        if (!listIsEmpty) words.insert(words.end(), values.begin(), values.end());
      } else if (place++ == arguments_.size()) {
        words = values;
      }
    }
    std::erase_if(words, [&](const std::string& word) { return contains(arguments_, word); });
    return words;
  }

  std::vector<Option> options_;  // that can stand on the line, as far as it was taken
  const GlobalOptions& given_;
  const Commands& commands_;
  std::string commandWord_;
  Command* command_ = nullptr;  // null: not one of the table
  bool onlyArguments_ = false;
  std::optional<Option> open_;  // the next word is its value
  Words seen_;                  // names of options
  Words arguments_;
};

/// The words up to their first colon, as long as that leaves a choice: a disk goes by several names.
Words abridged(const Words& words) {
  std::set<std::string> beginnings;
  for (const std::string& word : words) {
    const size_t colon = word.find(':');
    beginnings.insert(colon == std::string::npos ? word : word.substr(0, colon + 1));
  }
  return beginnings.size() > 1 ? Words(beginnings.begin(), beginnings.end()) : words;
}

bool hasControlCharacter(const std::string& word) {
  return std::any_of(word.begin(), word.end(), [](unsigned char character) { return std::iscntrl(character) != 0; });
}

}  // namespace

std::string completionsOf(const std::string& line, const std::string& piece, const std::vector<Option>& options,
                          const GlobalOptions& given, const Commands& commands) {
  std::vector<ShellWord> words = shellWords(line);
  const ShellWord last = words.back();
  words.pop_back();
  Line typed(options, given, commands);
  for (size_t index = 1; index < words.size(); ++index) typed.take(words[index].text);

  Words next = typed.next(last.text);
  if (next == Words{kFileFollows}) return std::string(kFileFollows) + "\n";
  std::erase_if(next,
                [&](const std::string& word) { return !word.starts_with(last.text) || hasControlCharacter(word); });
  if (last.text.find(':') == std::string::npos) next = abridged(next);
  const size_t replaced =
      shellWords((last.openQuote == 0 ? "" : std::string(1, last.openQuote)) + piece).back().text.size();
  const size_t kept = last.text.size() - std::min(replaced, last.text.size());
  std::string text;
  for (const std::string& word : next) text += quoted(word.substr(kept), last.openQuote) + "\n";
  return text;
}

}  // namespace host
