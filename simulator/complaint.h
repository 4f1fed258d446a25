// What the simulated host has to say beside its answers.
#pragma once

#include <cerrno>
#include <cstdio>
#include <string>

namespace simulator {

/// One line on standard error, under the name of the program that loaded this library.
inline void complain(const std::string& text) {
  std::fprintf(stderr, "%s: %s\n", program_invocation_short_name, text.c_str());
}

}  // namespace simulator
