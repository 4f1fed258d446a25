// The reader of ELF files, on the plugin as it is and with damage everywhere: it says what is there, and comes to an
// end.
#include "host/loading/elf_file.h"

#include <algorithm>
#include <cstring>
#include <elf.h>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <random>

#include "host/loading/library_versions.h"

namespace {

using Header = std::conditional_t<sizeof(void*) == 4, Elf32_Ehdr, Elf64_Ehdr>;
using Section = std::conditional_t<sizeof(void*) == 4, Elf32_Shdr, Elf64_Shdr>;

std::string plugin() {
  std::ifstream file(DMU_PLUGIN_PATH, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

template <typename Record>
Record recordAt(const std::string& file, size_t place) {
  Record record{};
  std::memcpy(&record, file.data() + place, sizeof(record));
  return record;
}

/// Where the header of the first section of a type lies in the file.
size_t headerOf(const std::string& file, uint32_t type) {
  const auto header = recordAt<Header>(file, 0);
  size_t place = header.e_shoff;
  while (recordAt<Section>(file, place).sh_type != type) place += sizeof(Section);
  return place;
}

/// Where the section itself lies.
size_t placeOf(const std::string& file, uint32_t type) {
  return recordAt<Section>(file, headerOf(file, type)).sh_offset;
}

/// Asks everything.
size_t readAll(const std::string& file) {
  return host::neededLibraries(file).size() + host::sonameOf(file).size() + host::undefinedSymbols(file).size() +
         host::neededVersions(file).size() + host::definedVersions(file).size() + (host::identifyElf(file) ? 1u : 0u) +
         (host::isCut(file) ? 1u : 0u);
}

TEST(ElfFile, VersionsAreThoseOfTheLibrariesThatAreNeeded) {
  const std::string file = plugin();
  const auto libraries = host::neededLibraries(file);
  const auto versions = host::neededVersions(file);
  ASSERT_FALSE(versions.empty());
  for (const host::SymbolVersion& version : versions) {
    EXPECT_NE(std::find(libraries.begin(), libraries.end(), version.library), libraries.end()) << version.name;
  }
  for (const host::NewestVersion& newest : host::newestVersions(file)) {
    EXPECT_EQ(newest.isHere, true) << newest.name << ": this test could not have loaded the plugin";
  }
}

TEST(ElfFile, ThatIsCutAnywhereIsReadAsFarAsItGoes) {
  const std::string file = plugin();
  for (size_t length = 0; length < file.size(); length += 1 + length / 64) readAll(file.substr(0, length));
  EXPECT_FALSE(host::isCut(file));
  EXPECT_TRUE(host::isCut(file.substr(0, 4096)));
}

TEST(ElfFile, WithDamageInItsTablesIsReadToAnEnd) {
  const std::string whole = plugin();
  const size_t sections = recordAt<Header>(whole, 0).e_shoff;
  const size_t targets[] = {0, sections, placeOf(whole, SHT_GNU_verneed), placeOf(whole, SHT_DYNAMIC),
                            placeOf(whole, SHT_DYNSYM)};
  std::mt19937 random(3);
  for (int round = 0; round < 1500; ++round) {
    std::string file = whole;
    for (int damage = 0; damage < 4; ++damage) {
      const size_t place = targets[random() % std::size(targets)] + random() % 512;
      if (place < file.size()) file[place] = static_cast<char>(random());
    }
    readAll(file);
  }
}

/// Each record of the chain begins a chain of others, which are records of the first one, too.
TEST(ElfFile, ChainsOfVersionsAreNoLongerThanTheFile) {
  const Elf32_Verneed need{1, UINT16_MAX, 0, 0, sizeof(need)};
  std::string file = plugin();
  const size_t place = headerOf(file, SHT_GNU_verneed);
  auto section = recordAt<Section>(file, place);
  section.sh_offset = static_cast<decltype(section.sh_offset)>(file.size());
  section.sh_info = UINT32_MAX;
  std::memcpy(file.data() + place, &section, sizeof(section));
  for (size_t record = 0; record < 200'000; ++record) file.append(reinterpret_cast<const char*>(&need), sizeof(need));
  const auto versions = host::neededVersions(file);
  EXPECT_GT(versions.size(), 100'000u);
  EXPECT_LE(versions.size(), file.size() / sizeof(need));
}

/// Every section is the symbol table, and every symbol is named by all of the file.
TEST(ElfFile, NamesAreNoMoreThanTheFileHolds) {
  std::string file = plugin();
  auto section = recordAt<Section>(file, headerOf(file, SHT_DYNSYM));
  auto header = recordAt<Header>(file, 0);
  section.sh_size = static_cast<decltype(section.sh_size)>(file.size());
  section.sh_link = 0;
  header.e_shoff = static_cast<decltype(header.e_shoff)>(file.size());
  header.e_shnum = 1000;
  std::memcpy(file.data(), &header, sizeof(header));
  for (int i = 0; i < header.e_shnum; ++i) file.append(reinterpret_cast<const char*>(&section), sizeof(section));
  size_t characters = 0;
  for (const std::string& name : host::undefinedSymbols(file)) characters += name.size() + 1;
  EXPECT_GT(characters, 0u);
  EXPECT_LE(characters, file.size());
}

}  // namespace
