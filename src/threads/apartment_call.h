// Calls into an object from a thread other than the one it lives on: the call is carried to the
// object's thread as a thread message, runs there when that thread pumps, and the caller waits
// for it, with a bound, the way a call into a single-threaded apartment waits for its answer.
#pragma once

#include <cstdint>
#include <functional>

#include <tovport/automation/com.h>
#include <tovport/automation/variant.h>
#include <tovport/platform/message_queue.h>

namespace tov::threads {

// The object's thread has ended (RPC_E_DISCONNECTED), and the call did not finish within its
// bound (RPC_E_TIMEOUT; a call that had not started by then never runs).
inline constexpr automation::HRESULT RPC_E_DISCONNECTED = static_cast<automation::HRESULT>(0x80010108u);
inline constexpr automation::HRESULT RPC_E_TIMEOUT = static_cast<automation::HRESULT>(0x8001011Fu);

// How long a caller waits for a carried call.
inline constexpr std::uint32_t kCarriedCallBoundMs = 30000;

// A dispatch call as the object's thread runs it, on arguments that belong to that thread.
using DispatchCall = std::function<automation::HRESULT(automation::DispParams&, automation::Variant*,
                                                      automation::ExcepInfo*, unsigned*)>;

// Runs call on thread owner with copies of params, then hands back the result, the exception
// information, the argument error and every by-reference argument the call changed. Nothing of
// the caller's is touched on the other thread. The caller does not pump while it waits.
automation::HRESULT invokeOnThread(platform::DWORD owner, const DispatchCall& call, automation::DispParams& params,
                                   automation::Variant* result, automation::ExcepInfo* excep, unsigned* argErr,
                                   std::uint32_t boundMs = kCarriedCallBoundMs);

}  // namespace tov::threads
