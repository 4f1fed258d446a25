// The management user library's three calls, as a program links them.
#include <cstdarg>
#include <new>

#include "simulator/exported.h"
#include "simulator/host_model.h"
#include "simulator/interface_checks.h"

namespace {

using simulator::HostModel;
using simulator::ManagementError;

int32_t code(ManagementError error) {
  return static_cast<int32_t>(error);
}

/// Memory can run out anywhere; the caller then gets a code like any other.
template <typename Action>
int32_t guarded(Action action) {
  try {
    return action();
  } catch (const std::bad_alloc&) {
    return code(ManagementError::outOfMemory);
  }
}

/// The addresses of a callback's parameters, in order; those that it does not have are null.
struct Parameters {
  void* at[4];
};

int32_t invoke(vmk_MgmtUserHandle* handle, uint64_t reserved, uint64_t callbackId, uint32_t count,
               const Parameters& parameters) {
  if (reserved != 0) return code(ManagementError::reservedNotZero);
  if (!HostModel::instance().isOpen(handle)) return code(ManagementError::badHandle);
  const simulator::wire::CallbackEntry* callback = simulator::findCallback(callbackId);
  if (callback == nullptr) return code(ManagementError::unknownCallback);
  if (count != callback->parameterCount) return code(ManagementError::parameterCount);
  for (uint32_t i = 0; i < count; ++i)
    if (parameters.at[i] == nullptr) return code(ManagementError::nullParameter);

  switch (callbackId) {
    case simulator::kQueryInstances:
      return HostModel::instance().queryInstances(*static_cast<simulator::wire::InstanceList*>(parameters.at[0]),
                                                  *static_cast<uint32_t*>(parameters.at[1]));
    case simulator::kPassthru:
      return HostModel::instance().passthru(*static_cast<uint32_t*>(parameters.at[0]),
                                            *static_cast<simulator::wire::PassthruRecord*>(parameters.at[1]),
                                            *static_cast<uint32_t*>(parameters.at[2]));
    default:
      return code(ManagementError::callbackUnavailable);
  }
}

}  // namespace

extern "C" {

DMU_EXPORTED uint32_t vmk_MgmtUserInit(const void* signature, uint64_t reserved, vmk_MgmtUserHandle** handle) {
  return static_cast<uint32_t>(guarded([&] { return HostModel::instance().openChannel(signature, reserved, handle); }));
}

DMU_EXPORTED int32_t vmk_MgmtUserDestroy(vmk_MgmtUserHandle* handle) {
  return guarded([&] { return HostModel::instance().closeChannel(handle); });
}

DMU_EXPORTED int32_t vmk_MgmtUserCallbackInvokeInt(vmk_MgmtUserHandle* handle, uint64_t reserved, uint64_t callbackId,
                                                   uint32_t numParms, ...) {
  Parameters parameters{};
  va_list addresses;
  va_start(addresses, numParms);
  for (uint32_t i = 0; i < numParms && i < std::size(parameters.at); ++i) parameters.at[i] = va_arg(addresses, void*);
  va_end(addresses);
  return guarded([&] { return invoke(handle, reserved, callbackId, numParms, parameters); });
}
}
