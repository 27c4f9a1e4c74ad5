#include "module/ModuleInitializer.h"

#include "config/Registry.h"
#include "log/Core.h"
#include "util/ApiErrorException.h"

#include <utility>

namespace JY::Pictaro {

namespace {

constexpr SourceFile here{"ModuleInitializer"};

/// The registry is chosen while nobody else can ask for it.
void chooseRegistry() {
    Utl::getRegistry();
}

ModuleInitializer::Preparation preparation = &chooseRegistry;

} // namespace

void ModuleInitializer::initializeOnFirstObtain() {
    const auto log = Log2::traceMember(here(), typeid(ModuleInitializer), "initializeOnFirstObtain");
    try {
        preparation();
    } catch (const Exception& exception) {
        log.warn(here()) << exception;
        throw ApiErrorException(here(), "initializeOnFirstObtain", static_cast<std::uint32_t>(E_FAIL));
    }
}

ModuleInitializer::Preparation ModuleInitializer::exchangePreparation(Preparation next) {
    return std::exchange(preparation, next);
}

void ModuleInitializer::finalizeOnLastRelease() {
    const auto log = Log2::traceMember(here(), typeid(ModuleInitializer), "finalizeOnLastRelease");
}

} // namespace JY::Pictaro
