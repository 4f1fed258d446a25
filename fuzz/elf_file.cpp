// Arbitrary bytes as a shared object. What the reader tells lies in the file, and what it says of the file's class
// agrees.
#include "host/loading/elf_file.h"

#include "fuzz/input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string file(reinterpret_cast<const char*>(data), size);
  const auto requireIn = [&file](const std::string& name) {
    fuzz::require(file.find(name) != std::string::npos, "a name stands in the file");
  };
  const auto identity = host::identifyElf(file);
  fuzz::require(!identity || identity->bits == 32 || identity->bits == 64, "a file is of one class");
  const auto needed = host::neededLibraries(file);
  const auto symbols = host::undefinedSymbols(file);
  const auto versions = host::neededVersions(file);
  const auto defined = host::definedVersions(file);
  const bool tellsAnything = !needed.empty() || !symbols.empty() || !versions.empty() || !defined.empty();
  fuzz::require(identity || !tellsAnything, "what is no ELF file tells nothing");
  (void)host::isCut(file);
  for (const std::string& name : needed) requireIn(name);
  for (const std::string& name : symbols) requireIn(name);
  requireIn(host::sonameOf(file));
  for (const host::SymbolVersion& version : versions) {
    requireIn(version.name);
    requireIn(version.library);
  }
  for (const host::SymbolVersion& version : defined) {
    requireIn(version.name);
    fuzz::require(version.library.empty(), "a version of its own is of no other library");
  }
  return 0;
}
