#include "module/ModuleInitializer.h"

#include "config/Registry.h"
#include "log/Core.h"
#include "util/ApiErrorException.h"

namespace JY::Pictaro {

namespace {
constexpr SourceFile here{"ModuleInitializer"};
}

void ModuleInitializer::initializeOnFirstObtain() {
    const auto log = Log2::traceMember(here(), typeid(ModuleInitializer), "initializeOnFirstObtain");
    try {
        // Made before any other thread can ask for it.
        Utl::getRegistry();
    } catch (const Exception& exception) {
        log.warn(here()) << exception;
        throw ApiErrorException(here(), "initializeOnFirstObtain", static_cast<std::uint32_t>(E_FAIL));
    }
}

void ModuleInitializer::finalizeOnLastRelease() {
    const auto log = Log2::traceMember(here(), typeid(ModuleInitializer), "finalizeOnLastRelease");
}

} // namespace JY::Pictaro
