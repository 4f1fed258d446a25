// Loading and unloading of the plugin, and the handles that a test opens.
#include "tests/host_process.h"

#include <pthread.h>

PluginTest::PluginTest() {
  hostCalls = {};
  library_ = dlopen(DMU_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL);
  if (library_ == nullptr) throw std::runtime_error(dlerror());
  watchPlugin();
  plugin = published<DmuPluginDescriptor*()>(kDmuEntryPoint)();
  const std::optional<std::string> refused = host.loadText(host.builtInTopology(), "built in");
  if (refused) throw std::runtime_error(*refused);
  host.clearFaults();
  host.setClock(nullptr);
  host.resetCounts();
  host.recordCommands(true);
  (void)host.takeCommands();
}

PluginTest::~PluginTest() {
  unload();
  takeTrace();
}

void PluginTest::unload() {
  if (library_ == nullptr) return;
  hostCalls = {};
  EXPECT_TRUE(lockIsFree());
  for (CtrlDevInfo* handle : handles_) plugin->closeDevice(handle);
  std::string().swap(error);
  EXPECT_EQ(heldByPlugin().files, 0);  // counters of a build for coverage write theirs when the library is unloaded
  dlclose(library_);
  library_ = nullptr;
  EXPECT_EQ(heldByPlugin().blocks, 0u);
  EXPECT_EQ(host.counts().openNodes, 0u);
  forgetPlugin();
}

DmuDeviceOpenInfo openInfoOf(const simulator::HostDisk& disk) {
  DmuDeviceOpenInfo info = {};
  info.devName = disk.device.c_str();
  info.hba = disk.hba.c_str();
  info.channel = disk.channel;
  info.target = disk.target;
  info.lun = disk.lun;
  info.driver = disk.driver.c_str();
  return info;
}

CtrlDevInfo* PluginTest::open(const std::string& device) {
  for (const simulator::HostDisk& disk : host.disks()) {
    if (disk.device == device) return open(disk);
  }
  throw std::runtime_error("no such disk: " + device);
}

CtrlDevInfo* PluginTest::open(const simulator::HostDisk& disk) {
  const DmuDeviceOpenInfo info = openInfoOf(disk);
  CtrlDevInfo* handle = nullptr;
  if (plugin->openDeviceV2(&info, &handle) != 0) throw std::runtime_error("not opened: " + disk.device);
  handles_.push_back(handle);
  return handle;
}

std::vector<int> PluginTest::sentOpcodes() {
  std::vector<int> opcodes;
  for (const simulator::SentCommand& command : host.takeCommands()) {
    const uint8_t* cdb = command.record.data() + 12;
    opcodes.push_back(cdb[0] >= 0xC0 ? cdb[0] : cdb[6]);
  }
  return opcodes;
}

bool PluginTest::lockIsFree() const {
  auto& lock = published<pthread_mutex_t>("pluginMutex");
  return pthread_mutex_trylock(&lock) == 0 && pthread_mutex_unlock(&lock) == 0;
}
