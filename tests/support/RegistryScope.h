#pragma once

#include "config/RegDebug.h"
#include "config/Registry.h"

namespace JY::Test {

/// Makes a registry the process-wide one for as long as it lives.
class RegistryScope {
public:
    explicit RegistryScope(Utl::RegInterface& registry) : previous_(Utl::exchangeRegistry(&registry)) {}
    RegistryScope(const RegistryScope&) = delete;
    RegistryScope& operator=(const RegistryScope&) = delete;
    ~RegistryScope() { Utl::exchangeRegistry(previous_); }

private:
    Utl::RegInterface* previous_;
};

/// Makes an empty registry in memory the process-wide one for as long as it lives.
class EmptyRegistry {
public:
    EmptyRegistry() : scope_(memory_) { clear(); }
    EmptyRegistry(const EmptyRegistry&) = delete;
    EmptyRegistry& operator=(const EmptyRegistry&) = delete;
    ~EmptyRegistry() { clear(); }

    Utl::RegInterface& get() { return memory_; }

private:
    void clear() {
        memory_.deleteKey(HKEY_LOCAL_MACHINE, L"Software", 0);
        memory_.deleteKey(HKEY_CURRENT_USER, L"Software", 0);
        memory_.deleteKey(HKEY_CLASSES_ROOT, L"CLSID", 0);
    }

    Utl::RegDebug memory_;
    RegistryScope scope_;
};

} // namespace JY::Test
