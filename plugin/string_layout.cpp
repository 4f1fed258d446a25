// Which string layout this library was built for, said where a host can read it before its first call: as a function of
// that layout among the symbols that the library needs. Nothing else says so, since C++20 instantiates the string's
// functions inside the library.
#include <string>

extern template std::string& std::basic_string<char>::assign(const char*);

namespace {

[[gnu::used]] std::string& (std::string::*const kNeededFunction)(const char*) = &std::string::assign;

}  // namespace
