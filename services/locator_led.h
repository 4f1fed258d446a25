// Operation 1: the locator LEDs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "controller/snapshot.h"
#include <dmu/plugin.h>

/// Reply of sense blink drive LED (0x17) and data of blink drive tray LED (0x16). Little-endian.
///
///   offset  width    field
///        0  u32      BlinkDuration                tenths of a second
///        4  u32      BlinkTimeElapsed
///        8  u8[256]  BlinkSeekEnable              one byte a BMIC drive index; bit 0: blink
///      264  u16      OffsetToEBSEArray
///      266  u16      MaxPhysicalDevicesSupported
///      268  u32      TotalStructureLength         bytes, the extended array included
///      272  u32      FixedFieldsLength
///      276           ExtendedBlinkSeekEnable      u8[maxPhysDevicesSupported], on controllers that take it
struct [[gnu::packed]] vlexBlinkDriveLED {
  uint32_t BlinkDuration;
  uint32_t BlinkTimeElapsed;
  uint8_t BlinkSeekEnable[256];
  uint16_t OffsetToEBSEArray;
  uint16_t MaxPhysicalDevicesSupported;
  uint32_t TotalStructureLength;
  uint32_t FixedFieldsLength;
};
static_assert(offsetof(vlexBlinkDriveLED, BlinkDuration) == 0);
static_assert(offsetof(vlexBlinkDriveLED, BlinkTimeElapsed) == 4);
static_assert(offsetof(vlexBlinkDriveLED, BlinkSeekEnable) == 8);
static_assert(offsetof(vlexBlinkDriveLED, OffsetToEBSEArray) == 264);
static_assert(offsetof(vlexBlinkDriveLED, MaxPhysicalDevicesSupported) == 266);
static_assert(offsetof(vlexBlinkDriveLED, TotalStructureLength) == 268);
static_assert(offsetof(vlexBlinkDriveLED, FixedFieldsLength) == 272);
static_assert(sizeof(vlexBlinkDriveLED) == 276);

extern "C" {

/// Switches the LED of the handle's drive, or of every member drive of its volume. Needs the plugin lock. Every other
/// drive stays as the controller reports it. Nothing is retried.
///
/// @param state    on when any of its low 8 bits is set, else off
/// @param seconds  blink time; the controller keeps one, so it holds for every drive that blinks there
/// @param error    replaced with "Failed to open controller." or "Device is not found.", else left as it was
/// @return drives switched; 0 when the blink step failed, whatever the reason (no text); -1 with one of the texts, or
///         with none when `handle` is null or memory ran out
int OrvaInfo_SetDriveLEDState(CtrlDevInfo* handle, unsigned int state, unsigned short seconds, std::string& error);

/// Reads the controller's blink buffer, marks the device's drives in it and writes it back.
/// @param seconds  blink time, 86400 at most
/// @param turnOn   nonzero: on
/// @return 0; the blink command's nonzero status; -1 when the channel is closed, an argument is refused, the volume's
///         members are not known, memory ran out, the sense step failed, the controller has more drives than the fixed
///         array and takes no extended one, or a drive has no place in the array in use
int OrvaInfo_BlinkDriveTrayLED(int seconds, OrvaInfo_Devices* device, OrvaInfo* info, char turnOn);

/// Reads the controller's blink buffer.
/// @param buffer  zero-filled; null: the command is sent with a buffer of its own, whose contents are lost
/// @param length  bytes of `buffer`
/// @return 0; the command's nonzero status; -1 when the channel is closed, `info` is null, memory ran out or the
///         buffer is longer than a command can transfer
int OrvaInfo_SenseBlinkDriveLED(OrvaInfo* info, vlexBlinkDriveLED* buffer, int length);

/// Writes the buffer into the trace. Null is ignored.
/// @param withArray  nonzero: with the 256 bytes of BlinkSeekEnable
void OrvaInfo_DumpBlkLED(vlexBlinkDriveLED* buffer, int withArray);
}
