#include "config/Registry.h"

#include "config/RegActual.h"
#include "config/RegDebug.h"

#include <atomic>

namespace JY::Utl {

bool useRegistrySimulation = false;

namespace {

RegActual actual;
RegDebug simulation;
std::atomic<RegInterface*> current{nullptr};

RegInterface& chooseRegistry() {
    if (useRegistrySimulation) {
        return simulation;
    }
    return actual;
}

} // namespace

RegInterface& getRegistry() {
    RegInterface* registry = current;
    if (registry == nullptr) {
        registry = &chooseRegistry();
        current = registry;
    }
    return *registry;
}

RegInterface* exchangeRegistry(RegInterface* registry) {
    return current.exchange(registry);
}

} // namespace JY::Utl
