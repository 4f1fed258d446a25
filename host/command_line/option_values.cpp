// Checks what was given against the tables, and stores it.
#include "host/command_line/option_values.h"

#include <algorithm>
#include <charconv>
#include <functional>
#include <iterator>
#include <string_view>

#include "host/output/text.h"
#include "json/json_object.h"

namespace host {
namespace {

/// Takes the values of one option or argument, one value at least.
class Taking {
 public:
  /// @param subject  begins the sentence about a wrong value
  Taking(std::string subject, const std::vector<std::string>& values) : subject_(std::move(subject)), values_(values) {}

  void operator()(const Flag& flag) const { *flag.target = true; }

  void operator()(const Question&) const {}

  void operator()(const File& file) const {
    if (single().empty()) refuse("must not be empty");
    *file.target = single();
  }

  void operator()(const Number& number) const { *number.target = singleNumber(number.least, number.most); }

  void operator()(const FlagOrNumber& number) const {
    *number.target = single().empty() ? number.standard : singleNumber(number.least, number.most);
  }

  void operator()(const Word& word) const {
    if (std::find(word.words.begin(), word.words.end(), single()) == word.words.end()) {
      refuse("must be " + alternatives(word.words));
    }
    *word.target = single();
  }

  void operator()(const WordList& list) const {
    std::string_view rest = single();
    list.target->clear();
    if (rest.starts_with('+')) {
      list.target->emplace_back("+");
      rest.remove_prefix(1);
    }
    while (true) {
      const size_t comma = std::min(rest.find(','), rest.size());
      const std::string word = lowerCase(std::string(rest.substr(0, comma)));
      if (std::find(list.words.begin(), list.words.end(), word) == list.words.end()) {
        const std::vector<std::string_view> known(list.words.begin(), list.words.end());
        refuse("unknown " + list.noun + " \"" + printable(word) + "\"" + input::suggestion(word, known) +
               " (there are " + joined(list.words) + ")");
      }
      list.target->push_back(word);
      if (comma == rest.size()) return;
      rest.remove_prefix(comma + 1);
    }
  }

  void operator()(const Texts& texts) const {
    if (std::find(values_.begin(), values_.end(), "") != values_.end()) refuse("must not be empty");
    *texts.target = values_;
  }

 private:
  [[noreturn]] void refuse(const std::string& text) const { throw WrongUsage(subject_ + " " + text); }

  [[nodiscard]] const std::string& single() const {
    if (values_.size() > 1) refuse("can be given only once");
    return values_.front();
  }

  [[nodiscard]] int singleNumber(int least, int most) const {
    const std::string& text = single();
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    if (!isNumber || number < least || number > most) {
      refuse("must be a number from " + std::to_string(least) + " to " + std::to_string(most));
    }
    return number;
  }

  std::string subject_;
  const std::vector<std::string>& values_;
};

/// A list takes what the arguments before and behind it leave; the others take one each, in their order.
void takeArguments(const std::vector<Option>& options, const std::vector<std::string>& given) {
  std::vector<Option> arguments;
  std::copy_if(options.begin(), options.end(), std::back_inserter(arguments), std::mem_fn(&Option::isArgument));
  auto next = given.begin();
  bool listWasBefore = false;
  for (size_t index = 0; index < arguments.size(); ++index) {
    const Option& argument = arguments[index];
    const auto left = static_cast<size_t>(given.end() - next);
    const size_t behind = arguments.size() - 1 - index;
    const size_t count = argument.isList() ? left - std::min(left, behind) : std::min<size_t>(left, 1);
    std::vector<std::string> values(next, next + static_cast<std::ptrdiff_t>(count));
    next += static_cast<std::ptrdiff_t>(count);

    const bool isWord = std::holds_alternative<Word>(argument.value);
    if (isWord && values.empty()) values.emplace_back();
    const std::string subject = isWord ? (listWasBefore ? "the last argument" : "the argument") : argument.name + ":";
    if (!values.empty()) std::visit(Taking(subject, values), argument.value);
    listWasBefore = listWasBefore || argument.isList();
  }
  if (next != given.end()) throw WrongUsage("unexpected argument \"" + printable(*next) + "\"");
}

void takeOptions(const std::vector<Option>& options, const GivenWords& given) {
  for (const Option& option : options) {
    if (given.has(option.name)) std::visit(Taking(option.name + ":", given.options.at(option.name)), option.value);
  }
}

void refuseExcluded(const Option& option, const GivenWords& given) {
  if (!given.has(option.name)) return;
  for (const std::string& other : option.excludes) {
    if (given.has(other)) throw WrongUsage("give " + option.name + " or " + other + ", not both");
  }
  const bool isMissing = !option.onlyWith.empty() && given.arguments.back() != option.onlyWith;
  if (isMissing) throw WrongUsage(option.name + " can be given with \"" + option.onlyWith + "\" only");
}

void checkNeeded(const Option& option) {
  if (!option.isNeeded) return;
  const auto* file = std::get_if<File>(&option.value);
  const bool isGiven = file != nullptr ? !file->target->empty() : !std::get<Texts>(option.value).target->empty();
  if (isGiven) return;
  throw WrongUsage("give a " + lowerCase(option.name));
}

/// The list has to be given, or the option that takes its place.
void checkListOrOption(const std::vector<Option>& options, const Option& option, const GivenWords& given) {
  const auto isList = [&](const Option& other) { return other.name == option.insteadOf; };
  const auto list = std::find_if(options.begin(), options.end(), isList);
  if (list == options.end()) return;
  const bool isListGiven = !std::get<Texts>(list->value).target->empty();
  const std::string noun = lowerCase(list->name);
  if (isListGiven && given.has(option.name)) throw WrongUsage("give " + noun + "s or " + option.name + ", not both");
  if (!isListGiven && !given.has(option.name)) throw WrongUsage("give a " + noun + ", or " + option.name);
}

}  // namespace

void takeValues(const GivenWords& given, const std::vector<Option>& options) {
  takeOptions(options, given);
  takeArguments(options, given.arguments);
  for (const Option& option : options) {
    refuseExcluded(option, given);
    checkNeeded(option);
    checkListOrOption(options, option, given);
  }
}

}  // namespace host
