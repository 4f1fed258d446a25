// A small reader of ELF files: program headers, section headers, the dynamic section and symbol table and their string
// tables. Every offset and size comes from the file and is checked against it before use.
#include "host/loading/elf_file.h"

#include <algorithm>
#include <cstring>
#include <elf.h>
#include <optional>

namespace host {
namespace {

struct Elf32 {
  static constexpr int kBits = 32;
  using Header = Elf32_Ehdr;
  using Segment = Elf32_Phdr;
  using Section = Elf32_Shdr;
  using Symbol = Elf32_Sym;
  using Dynamic = Elf32_Dyn;
};
struct Elf64 {
  static constexpr int kBits = 64;
  using Header = Elf64_Ehdr;
  using Segment = Elf64_Phdr;
  using Section = Elf64_Shdr;
  using Symbol = Elf64_Sym;
  using Dynamic = Elf64_Dyn;
};

/// The record at an offset of the file, unless it does not lie inside.
template <typename Record>
std::optional<Record> recordAt(const std::string& file, uint64_t offset) {
  if (offset > file.size() || file.size() - offset < sizeof(Record)) return std::nullopt;
  Record record{};
  std::memcpy(&record, file.data() + offset, sizeof(record));
  return record;
}

/// How many bytes are left: of a file, for all records of a kind, or for all of their texts. A file with more of them
/// than it has room for repeats itself, and to follow it would take hours.
class Room {
 public:
  explicit Room(const std::string& file) : bytes_(file.size()) {}

  [[nodiscard]] uint64_t bytes() const { return bytes_; }

  /// @return whether there were so many
  bool take(uint64_t count) {
    const bool wereThere = count <= bytes_;
    bytes_ -= wereThere ? count : 0;
    return wereThere;
  }

 private:
  uint64_t bytes_;
};

struct Allowance {
  explicit Allowance(const std::string& file) : records(file), texts(file) {}

  Room records;
  Room texts;
};

/// The text at an index of a string table, unless it does not end inside the table or the allowance.
template <typename Section>
std::optional<std::string> textAt(const std::string& file, const Section& table, uint64_t index, Allowance& left) {
  const uint64_t offset = table.sh_offset;
  const uint64_t size = table.sh_size;
  if (offset > file.size() || file.size() - offset < size || index >= size) return std::nullopt;
  const char* text = file.data() + offset + index;
  const auto most = static_cast<size_t>(std::min(size - index, left.texts.bytes()));
  const auto* end = static_cast<const char*>(std::memchr(text, '\0', most));
  left.texts.take(end == nullptr ? most : static_cast<size_t>(end + 1 - text));
  if (end == nullptr) return std::nullopt;
  return std::string(text, end);
}

/// Calls `take` with every section of a type and the section with its texts, up to the first damage.
template <typename Elf, typename Take>
void forEachSection(const std::string& file, uint32_t type, Take take) {
  const auto header = recordAt<typename Elf::Header>(file, 0);
  if (!header) return;
  const auto section = [&](uint64_t index) {
    return recordAt<typename Elf::Section>(file, header->e_shoff + index * sizeof(typename Elf::Section));
  };
  for (uint64_t index = 0; index < header->e_shnum; ++index) {
    const auto found = section(index);
    if (!found) return;
    if (found->sh_type != type) continue;
    const auto texts = section(found->sh_link);
    if (!texts) return;
    take(*found, *texts);
  }
}

/// Calls `take` with every record of the sections of a type and the section with their texts, up to the first damage.
template <typename Elf, typename Record, typename Take>
void forEachRecord(const std::string& file, uint32_t type, Allowance& left, Take take) {
  forEachSection<Elf>(file, type, [&](const auto& records, const auto& texts) {
    for (uint64_t place = 0; place + sizeof(Record) <= records.sh_size && left.records.take(sizeof(Record));
         place += sizeof(Record)) {
      const auto record = recordAt<Record>(file, records.sh_offset + place);
      if (!record) return;
      take(*record, texts);
    }
  });
}

/// Where a record says how far away the next one is.
template <typename Record>
using Distance = uint32_t Record::*;

/// Calls `take` with each record of a chain and its place, up to the first damage.
/// @param next  the distance from a record to the next one; 0 ends the chain
template <typename Record, typename Take>
void forEachOfChain(const std::string& file, uint64_t place, uint64_t length, Distance<Record> next, Allowance& left,
                    Take take) {
  for (; length > 0 && left.records.take(sizeof(Record)); --length) {
    const auto record = recordAt<Record>(file, place);
    if (!record) return;
    take(*record, place);
    if (*record.*next == 0) return;
    place += *record.*next;
  }
}

// The records of versions are the same in both classes.
template <typename Elf>
std::vector<SymbolVersion> versionsNeeded(const std::string& file) {
  std::vector<SymbolVersion> versions;
  Allowance left(file);
  forEachSection<Elf>(file, SHT_GNU_verneed, [&](const auto& section, const auto& texts) {
    forEachOfChain(file, section.sh_offset, section.sh_info, &Elf32_Verneed::vn_next, left,
                   [&](const Elf32_Verneed& need, uint64_t place) {
                     const std::string library = textAt(file, texts, need.vn_file, left).value_or("");
                     forEachOfChain(file, place + need.vn_aux, need.vn_cnt, &Elf32_Vernaux::vna_next, left,
                                    [&](const Elf32_Vernaux& one, uint64_t) {
                                      auto name = textAt(file, texts, one.vna_name, left);
                                      if (!name || !left.texts.take(library.size())) return;
                                      versions.push_back({*std::move(name), library});
                                    });
                   });
  });
  return versions;
}

template <typename Elf>
std::vector<SymbolVersion> versionsDefined(const std::string& file) {
  std::vector<SymbolVersion> versions;
  Allowance left(file);
  forEachSection<Elf>(file, SHT_GNU_verdef, [&](const auto& section, const auto& texts) {
    forEachOfChain(file, section.sh_offset, section.sh_info, &Elf32_Verdef::vd_next, left,
                   [&](const Elf32_Verdef& definition, uint64_t place) {
                     const auto first = recordAt<Elf32_Verdaux>(file, place + definition.vd_aux);
                     const auto name = first ? textAt(file, texts, first->vda_name, left) : std::nullopt;
                     if (name) versions.push_back({*name, ""});
                   });
  });
  return versions;
}

template <typename Elf>
std::vector<std::string> undefinedNames(const std::string& file) {
  std::vector<std::string> names;
  Allowance left(file);
  forEachRecord<Elf, typename Elf::Symbol>(file, SHT_DYNSYM, left, [&](const auto& symbol, const auto& texts) {
    if (symbol.st_shndx != SHN_UNDEF) return;
    if (auto name = textAt(file, texts, symbol.st_name, left)) names.push_back(*std::move(name));
  });
  return names;
}

/// The texts of the dynamic section's entries with a tag.
template <typename Elf>
std::vector<std::string> dynamicTexts(const std::string& file, int64_t tag) {
  std::vector<std::string> names;
  Allowance left(file);
  forEachRecord<Elf, typename Elf::Dynamic>(file, SHT_DYNAMIC, left, [&](const auto& entry, const auto& texts) {
    if (entry.d_tag != tag) return;
    if (auto name = textAt(file, texts, entry.d_un.d_val, left)) names.push_back(*std::move(name));
  });
  return names;
}

template <typename Elf>
std::optional<ElfIdentity> identityOf(const std::string& file) {
  const auto header = recordAt<typename Elf::Header>(file, 0);
  if (!header) return std::nullopt;
  ElfIdentity identity{Elf::kBits, "machine " + std::to_string(header->e_machine), header->e_type == ET_DYN};
  if (header->e_machine == EM_386) identity.machine = "x86";
  if (header->e_machine == EM_X86_64) identity.machine = "x86-64";
  return identity;
}

template <typename Elf>
bool endsBeforeSegments(const std::string& file) {
  const auto header = recordAt<typename Elf::Header>(file, 0);
  if (!header) return true;
  for (uint64_t index = 0; index < header->e_phnum; ++index) {
    const auto segment = recordAt<typename Elf::Segment>(file, header->e_phoff + index * sizeof(typename Elf::Segment));
    if (!segment) return true;
    const bool isInside = segment->p_offset <= file.size() && segment->p_filesz <= file.size() - segment->p_offset;
    if (segment->p_type == PT_LOAD && !isInside) return true;
  }
  return false;
}

/// The file's class, when it is one that this reader knows.
std::optional<int> classOf(const std::string& file) {
  if (file.size() < EI_NIDENT || std::memcmp(file.data(), ELFMAG, SELFMAG) != 0) return std::nullopt;
  if (file[EI_DATA] != ELFDATA2LSB) return std::nullopt;
  if (file[EI_CLASS] != ELFCLASS32 && file[EI_CLASS] != ELFCLASS64) return std::nullopt;
  return file[EI_CLASS];
}

/// Reads a file by the records of its class.
/// @return what `read` does; nothing (or false) for what is no file of either class
template <typename Read>
auto byClass(const std::string& file, Read read) -> decltype(read(Elf32{})) {
  const auto fileClass = classOf(file);
  if (!fileClass) return {};
  return *fileClass == ELFCLASS32 ? read(Elf32{}) : read(Elf64{});
}

std::vector<std::string> dynamicTexts(const std::string& file, int64_t tag) {
  return byClass(file, [&](auto elf) { return dynamicTexts<decltype(elf)>(file, tag); });
}

}  // namespace

std::optional<ElfIdentity> identifyElf(const std::string& file) {
  return byClass(file, [&](auto elf) { return identityOf<decltype(elf)>(file); });
}

std::vector<std::string> neededLibraries(const std::string& file) {
  return dynamicTexts(file, DT_NEEDED);
}

std::string sonameOf(const std::string& file) {
  const std::vector<std::string> names = dynamicTexts(file, DT_SONAME);
  return names.empty() ? "" : names.front();
}

std::vector<std::string> undefinedSymbols(const std::string& file) {
  return byClass(file, [&](auto elf) { return undefinedNames<decltype(elf)>(file); });
}

std::vector<SymbolVersion> neededVersions(const std::string& file) {
  return byClass(file, [&](auto elf) { return versionsNeeded<decltype(elf)>(file); });
}

std::vector<SymbolVersion> definedVersions(const std::string& file) {
  return byClass(file, [&](auto elf) { return versionsDefined<decltype(elf)>(file); });
}

bool isCut(const std::string& file) {
  return byClass(file, [&](auto elf) { return endsBeforeSegments<decltype(elf)>(file); });
}

}  // namespace host
