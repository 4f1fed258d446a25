// The entry of the process dmu-host: alone, for the rest is linked to programs that have one of their own.
#include "host/program.h"

int main(int argc, char** argv) {
  return host::runProgram(argc, argv);
}
