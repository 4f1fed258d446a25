// Compares what a file needs with what the libraries of this program define.
#include "host/loading/library_versions.h"

#include <algorithm>
#include <cstdlib>
#include <dlfcn.h>
#include <link.h>
#include <string_view>

#include "host/loading/elf_file.h"
#include "json/input.h"

namespace host {
namespace {

constexpr const char* kFamilies[] = {"GLIBC_", "GLIBCXX_", "CXXABI_"};

/// The numbers behind the family's name: {2, 34}; none for a name of another family or one that is no number.
std::vector<unsigned long> numbersOf(std::string_view version, std::string_view family) {
  std::vector<unsigned long> numbers;
  if (!version.starts_with(family)) return numbers;
  std::string rest(version.substr(family.size()));
  if (rest.empty() || rest.find_first_not_of("0123456789.") != std::string::npos) return numbers;
  for (char* place = rest.data(); *place != '\0'; place += *place == '.' ? 1 : 0) {
    char* end = place;
    numbers.push_back(std::strtoul(place, &end, 10));
    if (end == place) return {};
    place = end;
  }
  return numbers;
}

/// Whether the library of this name, as this program has it, defines a version.
std::optional<bool> defines(const std::string& library, const std::string& version) {
  void* const loaded = dlopen(library.c_str(), RTLD_LAZY | RTLD_NOLOAD);
  if (loaded == nullptr) return std::nullopt;
  const link_map* map = nullptr;
  std::string error;
  std::optional<std::string> content;
  if (dlinfo(loaded, RTLD_DI_LINKMAP, static_cast<void*>(&map)) == 0) content = input::readFile(map->l_name, error);
  dlclose(loaded);
  if (!content) return std::nullopt;
  const std::vector<SymbolVersion> defined = definedVersions(*content);
  return std::any_of(defined.begin(), defined.end(), [&](const SymbolVersion& one) { return one.name == version; });
}

}  // namespace

std::vector<NewestVersion> newestVersions(const std::string& file) {
  std::vector<NewestVersion> newest;
  const std::vector<SymbolVersion> needed = neededVersions(file);
  for (const char* family : kFamilies) {
    const auto last = std::max_element(needed.begin(), needed.end(), [&](const auto& one, const auto& other) {
      return numbersOf(one.name, family) < numbersOf(other.name, family);
    });
    if (last == needed.end() || numbersOf(last->name, family).empty()) continue;
    newest.push_back({last->name, last->library, defines(last->library, last->name)});
  }
  return newest;
}

}  // namespace host
