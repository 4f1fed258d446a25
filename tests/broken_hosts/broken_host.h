// A host that is broken on purpose: it opens one volume, makes the mistake that its first argument names, and ends.
// Each MISTAKE names the rule of the checker that must find it, and a piece of what the report says then.
#pragma once

#include <string>

#include <dmu/plugin.h>

/// What a mistake starts from. What it does not use up is closed and unloaded as it should be.
struct Host {
  const DmuPluginDescriptor* plugin;
  void* library;        ///< as dlopen gave it; null: the mistake has unloaded it
  CtrlDevInfo* handle;  ///< of a volume of four drives; null: the mistake has dealt with it
  std::string error;
};

/// Opens the volume once more, or a physical disk.
CtrlDevInfo* openVolume(const Host& host);
CtrlDevInfo* openDisk(const Host& host);

/// Ends the program with a word of why, unless all is as it should be.
void expect(bool isAsPromised, const char* what);

using MakeMistake = void (*)(Host& host);

/// Enters a mistake into the table.
struct Mistake {
  Mistake(const char* name, MakeMistake make);
  const char* name;
  MakeMistake make;
  const Mistake* next;
};

#define MISTAKE(name, rule, says)                           \
  static void make_##name(Host& host);                      \
  static const Mistake entered_##name(#name, &make_##name); \
  static void make_##name([[maybe_unused]] Host& host)
