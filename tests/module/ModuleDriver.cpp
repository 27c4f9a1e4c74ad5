// A host of the library as another process: loads it, does what the arguments say in their order, and ends.
//   call N   calls DllCanUnloadNow N times
//   fatal    asks for a class object without a place for it
//   busy     leaves threads behind that call DllCanUnloadNow and ask for class objects without end
//   unload   unloads the library; without it the end of the process does

#include "tests/module/LoadedModule.h"
#include "util/NeverDestroyed.h"

#include <cstdio>
#include <exception>
#include <optional>
#include <string_view>
#include <thread>
#include <vector>

namespace {

using JY::Test::CanUnloadNow;
using JY::Test::GetClassObject;
using JY::Test::LoadedModule;

void keepBusy(const LoadedModule& module) {
    auto* const canUnloadNow = module.find<CanUnloadNow>("DllCanUnloadNow");
    auto* const getClassObject = module.find<GetClassObject>("DllGetClassObject");
    for (int count = 0; count < 3; ++count) {
        std::thread([=] {
            for (;;) {
                canUnloadNow();
            }
        }).detach();
    }
    std::thread([=] {
        for (;;) {
            getClassObject(CLSID_NULL, IID_IUnknown, nullptr);
        }
    }).detach();
    Sleep(50); // until they are at it
}

void run(const std::vector<std::wstring_view>& actions) {
    // Still loaded when the process ends, unless it is unloaded here.
    static JY::NeverDestroyed<std::optional<LoadedModule>> module;
    module->emplace();
    for (std::size_t i = 0; i < actions.size(); ++i) {
        if (actions[i] == L"call") {
            const int count = std::stoi(std::wstring(actions.at(++i)));
            for (int call = 0; call < count; ++call) {
                (*module)->find<CanUnloadNow>("DllCanUnloadNow")();
            }
        } else if (actions[i] == L"fatal") {
            (*module)->find<GetClassObject>("DllGetClassObject")(CLSID_NULL, IID_IUnknown, nullptr);
        } else if (actions[i] == L"busy") {
            keepBusy(**module);
        } else if (actions[i] == L"unload") {
            module->reset();
        } else {
            throw std::runtime_error("An action is not known.");
        }
    }
}

} // namespace

int wmain(int count, wchar_t** arguments) {
    try {
        run({arguments + 1, arguments + count});
        std::printf("%lu", GetCurrentProcessId());
        return 0;
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "%s\n", exception.what());
        return 1;
    }
}
