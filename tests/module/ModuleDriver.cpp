// A host of the library as another process: loads it, does what the arguments say in their order, and ends.
//   call N   calls DllCanUnloadNow N times
//   fatal    asks for a class object without a place for it
//   unload   unloads the library; without it the end of the process does

#include "tests/module/LoadedModule.h"

#include <cstdio>
#include <exception>
#include <optional>
#include <string_view>

namespace {

using JY::Test::CanUnloadNow;
using JY::Test::GetClassObject;
using JY::Test::LoadedModule;

void run(const std::vector<std::wstring_view>& actions) {
    // Never destroyed, so that the module is still loaded when the process ends.
    static auto* const module = new std::optional<LoadedModule>(std::in_place);
    for (std::size_t i = 0; i < actions.size(); ++i) {
        if (actions[i] == L"call") {
            const int count = std::stoi(std::wstring(actions.at(++i)));
            for (int call = 0; call < count; ++call) {
                (*module)->find<CanUnloadNow>("DllCanUnloadNow")();
            }
        } else if (actions[i] == L"fatal") {
            (*module)->find<GetClassObject>("DllGetClassObject")(CLSID_NULL, IID_IUnknown, nullptr);
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
