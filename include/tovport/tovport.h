// Everything a host of the tovComPrtv3 component uses: the class and its identifiers, the
// automation runtime it speaks (Variant, calls by name, event sinks, run-time errors), and the
// platform seam a host sets up (registry and .reg files, serial backends, simulated phones,
// the Windows version, the thread's message queue).
#pragma once

#include <tovport/automation/com.h>
#include <tovport/automation/connection_point.h>
#include <tovport/automation/convert.h>
#include <tovport/automation/dispatch.h>
#include <tovport/automation/dispatch_object.h>
#include <tovport/automation/runtime_error.h>
#include <tovport/automation/variant.h>
#include <tovport/component/guids.h>
#include <tovport/component/tovcomprtv3.h>
#include <tovport/platform/message_queue.h>
#include <tovport/platform/os_version.h>
#include <tovport/platform/phone_simulator.h>
#include <tovport/platform/reg_file.h>
#include <tovport/platform/registry.h>
#include <tovport/platform/serial.h>
#include <tovport/platform/serial_memory.h>
#ifndef _WIN32
#include <tovport/platform/serial_posix.h>
#endif
