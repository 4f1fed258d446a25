// Marks what the library exports; the linker's list (exports.map) names the same.
#pragma once

#define DMU_EXPORTED __attribute__((visibility("default")))
