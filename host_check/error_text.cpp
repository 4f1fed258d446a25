// The two layouts of std::string in the GNU C++ library, by the words of an object.
//
// New layout: where the text lies, its length, then either 16 bytes for a text of at most 15 characters or the number
// of characters that there is room for elsewhere. Old layout: where the text lies; before the text its length, its room
// and a count of references. Text on the heap begins at an allocated block in the new layout, and three words behind
// one in the old layout: their alignment tells them apart.
#include "host_check/error_text.h"

#include <algorithm>
#include <cstring>
#include <dlfcn.h>
#include <link.h>
#include <string>

#include "host_check/kernel_memory.h"

namespace hostcheck {
namespace {

constexpr size_t kWord = sizeof(uintptr_t);
constexpr size_t kBlockAlignment = 2 * kWord;
constexpr size_t kMostCharacters = SIZE_MAX / 4;
constexpr size_t kLocalCharacters = 15;

struct NewString {
  uintptr_t text;
  size_t length;
  union {
    char local[kLocalCharacters + 1];
    size_t room;
  };
};

/// What lies before the text of an old string.
struct OldHeader {
  size_t length;
  size_t room;
  int references;  ///< beyond the first; -1: the text was handed out for writing
};

bool pluginHasNewLayout = _GLIBCXX_USE_CXX11_ABI;
uintptr_t sharedEmptyText =
    0;  ///< of every empty old string; 0: this process has no such strings from a shared library

/// Whether something can be read, or may be.
template <typename Object>
bool read(uintptr_t address, Object& object) {
  return readMemory(address, &object, sizeof(object)) == Access::done;
}

/// Whether a text of that length and room can lie there, with its terminator.
bool isText(uintptr_t text, size_t length, size_t room) {
  if (length > room || room > kMostCharacters || isReadable(text, uint64_t{room} + 1) == Access::badAddress)
    return false;
  char terminator = 0;
  return read(text + length, terminator) && terminator == '\0';
}

bool mayBeNew(uintptr_t address) {
  NewString words{};
  if (!read(address, words)) return false;
  if (words.text == address + offsetof(NewString, local)) {
    return words.length <= kLocalCharacters && words.local[words.length] == '\0';
  }
  return words.text != sharedEmptyText && words.text % kBlockAlignment == 0 && words.room > kLocalCharacters &&
         isText(words.text, words.length, words.room);
}

bool mayBeOld(uintptr_t address) {
  uintptr_t text = 0;
  OldHeader header{};
  if (!read(address, text) || !read(text - 3 * kWord, header)) return false;
  if (text == sharedEmptyText) return true;
  if (header.room == 0 && header.references != 0) return false;
  const bool isOnHeap = header.room > 0;
  return (!isOnHeap || text % kBlockAlignment == kWord) && header.references >= -1 &&
         isText(text, header.length, header.room);
}

bool anyBeginsWith(const char* name, const char* first, const char* second) {
  return std::strncmp(name, first, std::strlen(first)) == 0 || std::strncmp(name, second, std::strlen(second)) == 0;
}

}  // namespace

ErrorText judgeErrorText(uintptr_t address) {
  char byte = 0;
  if (readMemory(address, &byte, 1) == Access::unknown) return ErrorText::possible;
  const auto isOfPlugin = pluginHasNewLayout ? mayBeNew : mayBeOld;
  const auto isOther = pluginHasNewLayout ? mayBeOld : mayBeNew;
  if (isOfPlugin(address)) return ErrorText::possible;
  return isOther(address) ? ErrorText::otherLayout : ErrorText::noString;
}

void findErrorLayout(void* library) {
  const link_map* map = nullptr;
  if (dlinfo(library, RTLD_DI_LINKMAP, &map) != 0) return;
  const ElfW(Sym)* symbols = nullptr;
  const char* names = nullptr;
  const uint32_t* hashTable = nullptr;
  for (const ElfW(Dyn)* entry = map->l_ld; entry->d_tag != DT_NULL; ++entry) {
    if (entry->d_tag == DT_SYMTAB) symbols = reinterpret_cast<const ElfW(Sym)*>(entry->d_un.d_ptr);
    if (entry->d_tag == DT_STRTAB) names = reinterpret_cast<const char*>(entry->d_un.d_ptr);
    if (entry->d_tag == DT_GNU_HASH) hashTable = reinterpret_cast<const uint32_t*>(entry->d_un.d_ptr);
  }
  if (symbols == nullptr || names == nullptr || hashTable == nullptr) return;
  // The symbols that the library needs come before those that can be looked up in it.
  const uint32_t needed = hashTable[1];
  bool usesNew = false;
  bool usesOld = false;
  for (uint32_t index = 1; index < needed; ++index) {
    const char* const name = names + symbols[index].st_name;
    usesNew = usesNew || anyBeginsWith(name, "_ZNSt7__cxx1112basic_string", "_ZNKSt7__cxx1112basic_string");
    usesOld = usesOld || anyBeginsWith(name, "_ZNSs", "_ZNKSs");
  }
  if (usesNew != usesOld) pluginHasNewLayout = usesNew;

  const void* const emptyStorage = dlsym(RTLD_DEFAULT, "_ZNSs4_Rep20_S_empty_rep_storageE");
  if (emptyStorage != nullptr) sharedEmptyText = reinterpret_cast<uintptr_t>(emptyStorage) + 3 * kWord;
  dlerror();
}

const char* errorLayout() {
  return pluginHasNewLayout ? "new" : "old";
}

}  // namespace hostcheck
