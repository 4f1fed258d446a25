// Tells the string layouts apart by the mangled names of std::string's members.
#include "host/loading/string_layout.h"

#include <algorithm>
#include <string_view>

namespace host {

StringLayout ownStringLayout() {
  return _GLIBCXX_USE_CXX11_ABI ? StringLayout::newLayout : StringLayout::oldLayout;
}

std::optional<StringLayout> stringLayoutOf(const std::vector<std::string>& undefinedSymbols) {
  const auto anyBeginsWith = [&](std::string_view first, std::string_view second) {
    return std::any_of(undefinedSymbols.begin(), undefinedSymbols.end(), [&](const std::string& symbol) {
      return symbol.starts_with(first) || symbol.starts_with(second);
    });
  };
  const bool usesOld = anyBeginsWith("_ZNSs", "_ZNKSs");
  const bool usesNew = anyBeginsWith("_ZNSt7__cxx1112basic_string", "_ZNKSt7__cxx1112basic_string");
  if (usesOld == usesNew) return std::nullopt;
  return usesNew ? StringLayout::newLayout : StringLayout::oldLayout;
}

const char* nameOf(StringLayout layout) {
  return layout == StringLayout::newLayout ? "new" : "old";
}

}  // namespace host
