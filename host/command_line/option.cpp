// The words for an option in help and errors.
#include "host/command_line/option.h"

#include "host/output/text.h"

namespace host {

std::string wordsOf(const Option& option) {
  if (!option.isArgument()) {
    return (option.letter.empty() ? "" : option.letter + ",") + option.name +
           (option.valueName.empty() ? "" : " " + option.valueName);
  }
  if (const auto* word = std::get_if<Word>(&option.value)) return joined(word->words, "|");
  return option.name + (option.isList() ? "..." : "");
}

std::string helpOf(const Option& option) {
  return option.help + (option.excludes.empty() ? "" : " (not with " + joined(option.excludes, ", ") + ")");
}

std::string alternatives(const std::vector<std::string>& words) {
  return joined({words.begin(), words.end() - 1}, ", ") + " or " + words.back();
}

}  // namespace host
