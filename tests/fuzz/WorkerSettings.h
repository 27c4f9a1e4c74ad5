#pragma once

#include "tests/module/ModuleLog.h"
#include "tests/support/ModuleSetting.h"

#include <windows.h>

namespace JY::Fuzz {

/// The module's settings while files are opened; removed at the end. Small files shall be walked and sought in as large
/// ones are.
struct WorkerSettings {
    static constexpr DWORD fatal = 6;

    Test::ModuleLog log;
    Test::ModuleSetting logLevel{L"LogLevel", fatal}; ///< no file may cause such a record
    Test::ModuleSetting singleStream{L"EnableSingleStream", 1};
    Test::ModuleSetting traverseThreshold{L"TagTraverseThreshold", 500};
};

} // namespace JY::Fuzz
