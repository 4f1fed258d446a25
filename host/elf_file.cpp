// A small reader of ELF files: program headers, section headers, the dynamic symbol table and its string table. Every
// offset and size comes from the file and is checked against it before use.
#include "host/elf_file.h"

#include <cstring>
#include <elf.h>
#include <optional>

namespace host {
namespace {

struct Elf32 {
  using Header = Elf32_Ehdr;
  using Segment = Elf32_Phdr;
  using Section = Elf32_Shdr;
  using Symbol = Elf32_Sym;
};
struct Elf64 {
  using Header = Elf64_Ehdr;
  using Segment = Elf64_Phdr;
  using Section = Elf64_Shdr;
  using Symbol = Elf64_Sym;
};

/// The record at an offset of the file, unless it does not lie inside.
template <typename Record>
std::optional<Record> recordAt(const std::string& file, uint64_t offset) {
  if (offset > file.size() || file.size() - offset < sizeof(Record)) return std::nullopt;
  Record record{};
  std::memcpy(&record, file.data() + offset, sizeof(record));
  return record;
}

/// The text at an index of a string table, unless it does not end inside the table.
template <typename Section>
std::optional<std::string> textAt(const std::string& file, const Section& table, uint64_t index) {
  const uint64_t offset = table.sh_offset;
  const uint64_t size = table.sh_size;
  if (offset > file.size() || file.size() - offset < size || index >= size) return std::nullopt;
  const char* text = file.data() + offset + index;
  const void* end = std::memchr(text, '\0', static_cast<size_t>(size - index));
  if (end == nullptr) return std::nullopt;
  return std::string(text, static_cast<const char*>(end));
}

template <typename Elf>
std::vector<std::string> undefinedNames(const std::string& file) {
  std::vector<std::string> names;
  const auto header = recordAt<typename Elf::Header>(file, 0);
  if (!header) return names;
  const auto section = [&](uint64_t index) {
    return recordAt<typename Elf::Section>(file, header->e_shoff + index * sizeof(typename Elf::Section));
  };
  for (uint64_t index = 0; index < header->e_shnum; ++index) {
    const auto symbols = section(index);
    if (!symbols) return names;
    if (symbols->sh_type != SHT_DYNSYM) continue;
    const auto texts = section(symbols->sh_link);
    if (!texts) return names;
    for (uint64_t place = 0; place + sizeof(typename Elf::Symbol) <= symbols->sh_size;
         place += sizeof(typename Elf::Symbol)) {
      const auto symbol = recordAt<typename Elf::Symbol>(file, symbols->sh_offset + place);
      if (!symbol) return names;
      if (symbol->st_shndx != SHN_UNDEF) continue;
      if (auto name = textAt(file, *texts, symbol->st_name)) names.push_back(*std::move(name));
    }
  }
  return names;
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

}  // namespace

std::vector<std::string> undefinedSymbols(const std::string& file) {
  const auto fileClass = classOf(file);
  if (!fileClass) return {};
  return *fileClass == ELFCLASS32 ? undefinedNames<Elf32>(file) : undefinedNames<Elf64>(file);
}

bool isCut(const std::string& file) {
  const auto fileClass = classOf(file);
  if (!fileClass) return false;
  return *fileClass == ELFCLASS32 ? endsBeforeSegments<Elf32>(file) : endsBeforeSegments<Elf64>(file);
}

}  // namespace host
