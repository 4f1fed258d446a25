// What may be named once in a file alone.
#pragma once

#include <map>
#include <string>

#include "json/input.h"
#include "json/mistakes.h"

namespace input {

/// Names of which each may be used once; remembers where.
class Unique {
 public:
  /// @param what      of what they are the names, for messages; a literal
  /// @param mistakes  borrowed
  Unique(const char* what, Mistakes& mistakes) : what_(what), mistakes_(mistakes) {}

  /// @param path  JSON pointer of the place that uses the name
  void claim(const std::string& name, const std::string& path) {
    const auto [first, isNew] = places_.emplace(name, path);
    if (!isNew) mistakes_.add(path, std::string(what_) + " " + cut(name) + " is already used at " + first->second);
  }

 private:
  const char* what_;
  Mistakes& mistakes_;
  std::map<std::string, std::string> places_;
};

}  // namespace input
