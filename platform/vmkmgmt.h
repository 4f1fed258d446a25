// The kernel management user library (libvmkmgmt.so) as a hypervisor host provides it: a channel to a driver's
// management interface and synchronous calls of the driver's callbacks through it.
//
// Only declarations live in this room. On a hypervisor host the real library takes the place of the simulated one.
#pragma once

#include <cstdint>

extern "C" {

/// An open channel; its contents belong to the library.
struct vmk_MgmtUserHandle;

/// Opens a channel to the management interface that `signature` describes.
///
/// @param signature  the interface's name, vendor, version and callback table; borrowed for the call
/// @param reserved   0
/// @param handle     receives the channel on success; the caller owes one vmk_MgmtUserDestroy
/// @return 0, or the platform's error code, which leaves `handle` as it was
uint32_t vmk_MgmtUserInit(const void* signature, uint64_t reserved, vmk_MgmtUserHandle** handle);

/// Closes the channel. The handle is gone whatever the result.
/// @return 0, or the platform's error code
int32_t vmk_MgmtUserDestroy(vmk_MgmtUserHandle* handle);

/// Invokes one callback of the driver and returns when the driver has finished.
///
/// @param handle      an open channel
/// @param reserved    0
/// @param callbackId  the callback's id in the table that the channel was opened with
/// @param numParms    number of further arguments, as that table declares it; each further argument is the address of
///                    one parameter, which is moved to and from the driver by the size and direction of the table
/// @return 0 when the driver was called, whatever status it gave in its parameters; else the platform's error code
int32_t vmk_MgmtUserCallbackInvokeInt(vmk_MgmtUserHandle* handle, uint64_t reserved, uint64_t callbackId,
                                      uint32_t numParms, ...);
}
