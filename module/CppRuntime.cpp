// Media Foundation loads and unloads the library many times in one process, and the compiler's runtime gives some of
// what it takes back to no one: the state of exceptions in each thread that throws (a block, and four handles of its
// thread library), and the reserve from which exceptions are made when memory is short. Here the state lies in a
// slot that the system clears when a thread ends and when the library goes, and the reserve is released at the end.

#ifdef __MINGW32__

#include <windows.h>

#include <atomic>
#include <cxxabi.h>
#include <exception>

namespace __gnu_cxx {
/// Releases the runtime's reserve for exceptions.
void __freeres(); // NOLINT(*-reserved-identifier): the runtime's own
} // namespace __gnu_cxx

namespace {

/// What the runtime keeps of a thread: __cxa_eh_globals as the C++ ABI lays it out.
struct ExceptionState {
    void* caughtExceptions;
    unsigned uncaughtExceptions;
};

void CALLBACK release(void* state) {
    HeapFree(GetProcessHeap(), 0, state);
}

class StateSlot {
public:
    constexpr StateSlot() = default;
    StateSlot(const StateSlot&) = delete;
    StateSlot& operator=(const StateSlot&) = delete;
    ~StateSlot() {
        FlsFree(index_.exchange(FLS_OUT_OF_INDEXES)); // whoever throws after this starts anew
        __gnu_cxx::__freeres();
    }

    /// Null while the thread has none.
    ExceptionState* find() const { return static_cast<ExceptionState*>(FlsGetValue(index_)); }

    ExceptionState* obtain() {
        reserveIndex();
        if (ExceptionState* const state = find()) {
            return state;
        }
        void* const state = HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, sizeof(ExceptionState));
        if (state == nullptr || !FlsSetValue(index_, state)) {
            std::terminate(); // nothing can be thrown without it
        }
        return static_cast<ExceptionState*>(state);
    }

private:
    /// Not a static initialiser's work: another one may throw before.
    void reserveIndex() {
        DWORD none = FLS_OUT_OF_INDEXES;
        if (index_ != none) {
            return;
        }
        const DWORD fresh = FlsAlloc(&release);
        if (!index_.compare_exchange_strong(none, fresh)) {
            FlsFree(fresh);
        }
    }

    std::atomic<DWORD> index_{FLS_OUT_OF_INDEXES};
};

constinit StateSlot stateSlot;

} // namespace

// These take the place of the runtime's functions of the same names.

extern "C" __cxxabiv1::__cxa_eh_globals* __cxxabiv1::__cxa_get_globals() noexcept {
    return reinterpret_cast<__cxa_eh_globals*>(stateSlot.obtain());
}

extern "C" __cxxabiv1::__cxa_eh_globals* __cxxabiv1::__cxa_get_globals_fast() noexcept {
    return reinterpret_cast<__cxa_eh_globals*>(stateSlot.find());
}

#endif
