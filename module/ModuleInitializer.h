#pragma once

namespace JY::Pictaro {

/// What happens when the module's usage count leaves 0 and when it returns to 0. Both run under the module lock.
class ModuleInitializer {
public:
    ModuleInitializer() = delete;

    /// Makes ready what all objects share. A failure is recorded and raised as ApiErrorException
    /// "initializeOnFirstObtain" with E_FAIL; the next first object tries again.
    static void initializeOnFirstObtain();
    /// Leaves logging running: objects come and go many times in one process.
    static void finalizeOnLastRelease();

    /// What makes ready what all objects share; may throw.
    using Preparation = void (*)();
    /// Replaces it and returns the one before. For tests.
    static Preparation exchangePreparation(Preparation next);
};

} // namespace JY::Pictaro
