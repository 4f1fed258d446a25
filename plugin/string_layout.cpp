// Which string layout this library was built for, said where a host can read it before its first call: as a function of
// that layout among the symbols that the library needs. Nothing else says so, since C++20 instantiates the string's
// functions inside the library.
#include <string>

// A function that nothing in this library calls: one that is called may be instantiated here and is then not needed.
extern template std::string::size_type std::basic_string<char>::find_last_not_of(const char*, size_type,
                                                                                 size_type) const noexcept;

namespace {

using NeededFunction = std::string::size_type (std::string::*)(const char*, std::string::size_type,
                                                               std::string::size_type) const noexcept;
[[gnu::used]] NeededFunction const kNeededFunction = &std::string::find_last_not_of;

}  // namespace
