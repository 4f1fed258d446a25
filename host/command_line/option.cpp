// The words for an option in help and errors.
#include "host/command_line/option.h"

#include <algorithm>

#include "host/output/text.h"

namespace host {

std::vector<Option> both(std::vector<Option> first, const std::vector<Option>& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

std::string wordsOf(const Option& option) {
  if (!option.isArgument()) {
    return (option.letter.empty() ? "" : option.letter + ", ") + option.name +
           (option.valueName.empty() ? ""
            : option.mayHaveValue()  ? "[=" + option.valueName + "]"
                                     : " " + option.valueName);
  }
  if (const auto* word = std::get_if<Word>(&option.value)) return joined(word->words, "|");
  return option.name + (option.isList() ? "..." : "");
}

std::string helpOf(const Option& option) {
  return option.help + (option.excludes.empty() ? "" : "; not with " + joined(option.excludes, ", ")) +
         (option.onlyWith.empty() ? "" : "; only with " + option.onlyWith);
}

const Option* findOption(const std::vector<Option>& options, const std::string& word) {
  const auto found = std::find_if(options.begin(), options.end(), [&](const Option& option) {
    return !option.isArgument() && (option.name == word || (!word.empty() && option.letter == word));
  });
  return found == options.end() ? nullptr : &*found;
}

std::string alternatives(const std::vector<std::string>& words) {
  return joined({words.begin(), words.end() - 1}, ", ") + " or " + words.back();
}

}  // namespace host
