// The type library tovport 2.7: the class, its interfaces, enums and records.
#pragma once

#include "automation/idl.h"

namespace tov {

const automation::TypeLibraryDesc& typeLibrary();

}  // namespace tov
