#pragma once

// The host library in one include: Module loads a VST3 module and lists its
// classes; Instance drives one effect of it as a workstation would.

#include "hostlib/Host_Interfaces.h"
#include "hostlib/Instance.h"
#include "hostlib/Module.h"
#include "hostlib/Transport.h"
#include "hostlib/utf16.h"
