#!/usr/bin/env bash
# The boundary's header by itself, as hosts of every age compile it: header_test.sh COMPILER [FLAG...]
set -euo pipefail
project=$(dirname "$(dirname "$(readlink -f "$0")")")

for standard in 11 14 17 20; do
  echo '#include <dmu/plugin.h>' |
    "$@" -std=c++$standard -pedantic-errors -Wall -Wextra -Werror -I "$project/include" -x c++ -fsyntax-only -
done
