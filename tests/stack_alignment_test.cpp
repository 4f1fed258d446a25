// Hosts of the old i386 calling convention, which align the stack to 4 bytes only: whatever they call, the plugin's own
// calls find an aligned stack, and the driver finds aligned buffers.
#include <array>
#include <cstdlib>
#include <fstream>
#include <pthread.h>

#include "channel/passthrough_record.h"
#include "controller/device_scan.h"
#include "controller/logical_drive.h"
#include "controller/snapshot_cache.h"
#include "services/locator_led.h"
#include "tests/scenario.h"

// Calls a function with the words of its arguments and the stack that many bytes below a multiple of 16.
extern "C" uint32_t callWithStack(void* function, const uint32_t* words, uint32_t count, uint32_t below);
asm(R"(
.text
.globl callWithStack
callWithStack:
  push %ebp
  mov %esp, %ebp
  push %esi
  push %edi
  mov 16(%ebp), %ecx
  lea (,%ecx,4), %eax
  sub %eax, %esp
  and $-16, %esp
  sub 20(%ebp), %esp
  mov %esp, %edi
  mov 12(%ebp), %esi
  rep movsl
  call *8(%ebp)
  lea -8(%ebp), %esp
  pop %edi
  pop %esi
  pop %ebp
  ret
)");

namespace {

using Words = std::vector<uint32_t>;

uint32_t below = 0;
DmuPluginDescriptor real;

uint32_t word(const void* address) {
  return reinterpret_cast<uintptr_t>(address);
}

template <typename Argument>
uint32_t wordOf(Argument& argument) {
  if constexpr (std::is_pointer_v<Argument>) {
    return word(argument);
  } else if constexpr (std::is_class_v<Argument>) {
    return word(&argument);  // passed by reference
  } else {
    return static_cast<uint32_t>(argument);
  }
}

/// Stands in the descriptor for a function that is called with another stack.
template <auto field>
struct Shifted;
template <typename Result, typename... Arguments, Result (*DmuPluginDescriptor::*field)(Arguments...)>
struct Shifted<field> {
  static Result call(Arguments... arguments) {
    const Words words = {wordOf(arguments)...};
    return static_cast<Result>(callWithStack(reinterpret_cast<void*>(real.*field), words.data(), words.size(), below));
  }
};

template <auto... fields>
DmuPluginDescriptor shifted(DmuPluginDescriptor descriptor) {
  ((descriptor.*fields = Shifted<fields>::call), ...);
  return descriptor;
}

class StackAlignment : public ScenarioTest {
 protected:
  /// Calls a published function by the words of its arguments.
  uint32_t call(const char* name, const Words& words) const {
    auto* function = reinterpret_cast<void*>(&published<void()>(name));
    return callWithStack(function, words.data(), words.size(), below);
  }

  /// Calls every published function that stands outside the descriptor, on a snapshot that the scenario left.
  /// @return how many that were
  size_t callTheOthers() {
    char hba[] = "vmhba1";
    OrvaInfo* info = PUBLISHED(OrvaInfo_OpenCtrl)(hba);
    EXPECT_NE(info, nullptr);
    OrvaInfo_Devices* volume = &info->devices[0];
    OrvaInfo_Devices drive = info->devices[1];
    const uint32_t device = word(open("volume0"));
    const uint32_t text = word(&error);
    pqi_ioctl_passthruCmd_struct record = {};
    vlexLunReportHeader report[8] = {};
    vlexSenseConfiguration configuration = {};
    vlexBlinkDriveLED blink = {};
    DmuDeviceInfo deviceInfo = {};
    std::array<DriveTemperature, 4> temperatures;
    std::array<char*, 4> locations;
    alignas(16) std::array<uint8_t, 512> buffer;
    alignas(std::string) std::byte serial[sizeof(std::string)];
    const uint32_t i = word(info);
    const uint32_t v = word(volume);
    const uint32_t d = word(&drive);
    const std::vector<std::pair<const char*, Words>> calls = {
        {"OrvaInfo_Init", {}},
        {"OrvaInfo_QueryHBA", {word(hba)}},
        {"IsOEMDriver", {}},
        {"OrvaInfo_FillCmd", {0x11, 0, 0, 0, word(buffer.data()), 512, v, word(&record)}},
        {"OrvaInfo_ExeCmd",
         {0x11, 0, 0, 0, word(buffer.data()), 512, word(published<char[8]>("controllerAddress")), i}},
        {"OrvaInfo_GetInfoFromCtrl", {i}},
        {"OrvaInfo_DevListIsFull", {i}},
        {"OrvaInfo_UpdateScsiDevListLogical", {word(report), i, 8}},
        {"OrvaInfo_UpdateScsiDevListPhysical", {word(report), i, 24}},
        {"OrvaInfo_UpdateSCSIDevice", {v, 0, 0, v, i}},
        {"OrvaInfo_SetBTL", {v}},
        {"OrvaInfo_IdentifyLogicalDevice", {i, v}},
        {"OrvaInfo_SenseConfiguration", {i, v}},
        {"OrvaInfo_RAIDLevel", {word(&configuration)}},
        {"OrvaInfo_IdentifyPhysicalDevice", {i, d}},
        {"OrvaInfo_IdentifyPhysicalDevieWithBMICInex", {i, d, 2}},
        {"OrvaInfo_GetBMICDeviceIndex", {d}},
        {"OrvaInfo_ParseSerialNo", {word(hba), 6, d}},
        {"OrvaInfo_CacheTimedout", {i}},
        {"OrvaInfo_LookForDev", {i, device}},
        {"OrvaInfo_DumpOrvaInfo", {i}},
        {"OrvaInfo_DumpArray", {word(hba), 6}},
        {"OrvaInfo_DumpBlkLED", {word(&blink), 1}},
        {"OrvaInfo_SenseBlinkDriveLED", {i, 0, 0}},
        {"OrvaInfo_BlinkDriveTrayLED", {30, v, i, 1}},
        {"OrvaInfo_CtrlParameter", {i, 1}},
        {"OrvaInfo_CacheConfiguration", {i, v, 1}},
        {"OrvaInfo_GetPhyLocationForVolume", {i, v, 0, 0, text}},
        {"OrvaInfo_GetPhyDiskTempForVolume", {i, v, word(temperatures.data()), 4, text}},
        {"OrvaInfo_GetDeviceInfo", {device, word(&deviceInfo), text}},
        {"OrvaInfo_SetDriveLEDState", {device, 1, 30, text}},
        {"OrvaInfo_CacheControl", {device, 1, text}},
        {"OrvaInfo_GetDeviceTemperature", {device, word(temperatures.data()), 4, text}},
        {"OrvaInfo_GetDeviceLocation", {device, word(locations.data()), 0, text}},
        {"OrvaInfo_OpenCtrl", {word(hba)}},
        {"OrvaInfo_DeviceScan", {i}},
        {"OrvaInfo_UpdateCtrl", {0, word(hba)}},
        {"OrvaInfo_CloseCtrl", {word(hba)}},
        {"OrvaInfo_Cleanup", {}},
        {"OrvaInfo_ClearOrvaInfo", {i}},
        {"OrvaInfo_FreeOrvaInfo", {0}},
        {"OrvaInfo_CleanupCtrls", {}},
        {"_ZN11ResourceMgr23OrvaInfo_FreeCtrlsCacheEv", {word(&published<char>("OrvaCache"))}},
        {"_ZN11ResourceMgrD1Ev", {word(&published<char>("OrvaCache"))}},
        {"Get_Dev_SN", {word(serial), word("disk5"), text}},
        {"TimedLockPluginMutex", {}},
        {"orvamalloc", {100}},
    };
    uint32_t result = 0;
    for (const auto& [name, words] : calls) {
      result = call(name, words);
      EXPECT_EQ(hostCalls.misaligned, 0u) << name << ", " << below << " below";
      hostCalls.misaligned = 0;
    }
    std::free(reinterpret_cast<void*>(result));
    using std::string;
    reinterpret_cast<string*>(serial)->~string();
    pthread_mutex_unlock(&published<pthread_mutex_t>("pluginMutex"));
    return calls.size();
  }
};

TEST_F(StackAlignment, OfFourBytesIsEnoughForEveryPublishedFunction) {
  load(small());
  const Outcomes good = run();
  std::ifstream list(DMU_SOURCE_DIR "/tests/exported_symbols.txt");
  constexpr size_t kGlobals = 8;
  constexpr size_t kOfDescriptor = 10;  // its functions and DmuPluginInit
  const auto functions =
      static_cast<size_t>(std::count(std::istreambuf_iterator<char>(list), std::istreambuf_iterator<char>(), '\n')) -
      kGlobals;
  using D = DmuPluginDescriptor;
  real = *plugin;
  DmuPluginDescriptor replaced =
      shifted<&D::openDevice, &D::openDeviceV2, &D::getDeviceInfo, &D::setDriveLEDState, &D::cacheOn, &D::cacheOff,
              &D::getDeviceTemperature, &D::getDeviceLocation>(real);
  replaced.closeDevice = [](CtrlDevInfo* handle) {
    const uint32_t argument = word(handle);
    callWithStack(reinterpret_cast<void*>(real.closeDevice), &argument, 1, below);
  };
  plugin = &replaced;
  for (const uint32_t bytes : {0u, 4u, 8u, 12u}) {
    below = bytes;
    load(small());
    hostCalls.traceOn = true;
    call("DmuPluginInit", {});
    EXPECT_EQ(run(), good) << bytes << " below";
    EXPECT_EQ(hostCalls.misaligned, 0u) << bytes << " below";
    EXPECT_EQ(callTheOthers() + kOfDescriptor, functions) << "some are not called";
    takeTrace();
  }
  plugin = &PUBLISHED(DmuPluginInit)()[0];
}

}  // namespace
