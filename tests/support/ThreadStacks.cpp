#include "tests/support/ThreadStacks.h"

#include "util/Handle.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <tlhelp32.h>
#include <vector>
#include <winternl.h>

// The header's own way to the block is refused by the compiler when it optimises.
extern "C" NTSYSAPI PEB* NTAPI RtlGetCurrentPeb();

namespace JY::Test {

namespace {

/// The addresses of a stack, innermost first. Filled without a call that allocates: the thread may hold a heap's lock.
struct Frames {
    std::array<DWORD64, 64> addresses{};
    std::size_t count = 0;
};

bool isReadable(DWORD64 address) {
    MEMORY_BASIC_INFORMATION page{};
    return VirtualQuery(reinterpret_cast<void*>(address), &page, sizeof page) != 0 && page.State == MEM_COMMIT &&
           (page.Protect & (PAGE_NOACCESS | PAGE_GUARD)) == 0;
}

/// Makes `context` that of the caller; false where there is none.
bool stepOut(CONTEXT& context) {
    DWORD64 image = 0;
    if (!isReadable(context.Rsp)) {
        return false;
    }
    if (auto* const function = RtlLookupFunctionEntry(context.Rip, &image, nullptr)) {
        void* handlerData = nullptr;
        DWORD64 frame = 0;
        RtlVirtualUnwind(UNW_FLAG_NHANDLER, image, context.Rip, function, &context, &handlerData, &frame, nullptr);
    } else { // a function that changes neither the stack nor a register that is kept
        context.Rip = *reinterpret_cast<const DWORD64*>(context.Rsp);
        context.Rsp += sizeof(DWORD64);
    }
    return context.Rip != 0;
}

Frames walk(CONTEXT context) {
    Frames frames;
    do {
        frames.addresses[frames.count++] = context.Rip;
    } while (frames.count < frames.addresses.size() && stepOut(context));
    return frames;
}

struct LoadedImage {
    DWORD64 start;
    DWORD64 end;
    std::wstring name;
};

bool isIn(const LoadedImage& image, DWORD64 address) {
    return image.start <= address && address < image.end;
}

// The loader's list as it stands, without its lock. The header tells of the entries only what has always been there.
struct LoaderEntry {
    LIST_ENTRY memoryOrder;
    void* reserved[2];
    void* image;
    void* entryPoint;
    ULONG imageSize;
    UNICODE_STRING path;
    UNICODE_STRING name;
};

std::vector<LoadedImage> loadedImages() {
    std::vector<LoadedImage> images;
    LIST_ENTRY* const head = &RtlGetCurrentPeb()->Ldr->InMemoryOrderModuleList;
    for (LIST_ENTRY* link = head->Flink; link != head; link = link->Flink) {
        const auto& entry = *reinterpret_cast<const LoaderEntry*>(link);
        const auto start = reinterpret_cast<DWORD64>(entry.image);
        images.push_back(
            {start, start + entry.imageSize, std::wstring(entry.name.Buffer, entry.name.Length / sizeof(wchar_t))});
    }
    return images;
}

void writeFrames(std::FILE* output, DWORD threadId, const Frames& frames) {
    const std::vector<LoadedImage> images = loadedImages();
    std::fprintf(output, "thread %lu\n", threadId);
    for (std::size_t index = 0; index < frames.count; ++index) {
        const DWORD64 address = frames.addresses[index];
        std::wstring image = L"nowhere";
        DWORD64 offset = address;
        for (const LoadedImage& candidate : images) {
            if (isIn(candidate, address)) {
                image = candidate.name;
                offset = address - candidate.start;
            }
        }
        std::fprintf(output, "  #%zu %ls+0x%llx\n", index, image.c_str(), offset);
    }
}

Frames framesOf(DWORD threadId) {
    const Handle thread(OpenThread(THREAD_SUSPEND_RESUME | THREAD_GET_CONTEXT, FALSE, threadId));
    Frames frames;
    if (!thread || SuspendThread(thread.get()) == static_cast<DWORD>(-1)) {
        return frames; // has ended
    }
    alignas(16) CONTEXT context{};
    context.ContextFlags = CONTEXT_FULL;
    if (GetThreadContext(thread.get(), &context)) {
        frames = walk(context);
    }
    ResumeThread(thread.get());
    return frames;
}

std::vector<DWORD> otherThreads() {
    std::vector<DWORD> threads;
    const Handle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    for (BOOL found = Thread32First(snapshot.get(), &entry); found; found = Thread32Next(snapshot.get(), &entry)) {
        if (entry.th32OwnerProcessID == GetCurrentProcessId() && entry.th32ThreadID != GetCurrentThreadId()) {
            threads.push_back(entry.th32ThreadID);
        }
    }
    return threads;
}

} // namespace

bool isOtherThreadIn(const void* codeAddress) {
    const std::vector<LoadedImage> images = loadedImages();
    const auto image = std::ranges::find_if(
        images, [&](const LoadedImage& candidate) { return isIn(candidate, reinterpret_cast<DWORD64>(codeAddress)); });
    return image != images.end() && std::ranges::any_of(otherThreads(), [&](DWORD threadId) {
               const Frames frames = framesOf(threadId);
               return std::any_of(frames.addresses.begin(), frames.addresses.begin() + frames.count,
                                  [&](DWORD64 address) { return isIn(*image, address); });
           });
}

void writeStack(std::FILE* output, DWORD threadId, const CONTEXT& context) {
    writeFrames(output, threadId, walk(context));
}

void writeThreadStacks(std::FILE* output) {
    for (const DWORD threadId : otherThreads()) {
        writeFrames(output, threadId, framesOf(threadId));
    }
    std::fflush(output);
}

} // namespace JY::Test
