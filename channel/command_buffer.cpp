// The allocation of command buffers.
#include "channel/command_buffer.h"

#include <malloc.h>

void* orvamalloc(unsigned int size) {
  return memalign(16, size);
}
