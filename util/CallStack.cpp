#include "util/CallStack.h"

#include "util/DebugOutput.h"
#include "util/StackLock.h"
#include "util/TextBuffer.h"

#include <windows.h>
// dbghelp.h needs the types of windows.h.
#include <dbghelp.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <mutex>
#include <span>
#include <string_view>
#include <vector>

namespace JY {

bool symbolLookupEnabled = false;

namespace {

constexpr std::size_t maxFrames = 30;
// The capture routine, the text builder that calls it, and the exception's constructor.
constexpr ULONG skippedFrames = 3;

StackLock stackLock;
std::array<void*, maxFrames> frameAddresses; // guarded by stackLock

std::string_view afterLastBackslash(std::string_view path) {
    return path.substr(path.rfind('\\') + 1);
}

StackFrame resolve(const void* address) {
    StackFrame frame = lookUpSymbol(address);
    if (frame.name.empty()) {
        frame.name = describeModuleAddress(address);
    }
    return frame;
}

bool isModuleEntry(const StackFrame& frame) {
    return frame.name == "main" || frame.name == "DllCanUnloadNow";
}

[[gnu::noinline]] std::vector<StackFrame> captureFrames() {
    const std::lock_guard guard(stackLock);
    frameAddresses.fill(nullptr);
    const USHORT count =
        RtlCaptureStackBackTrace(skippedFrames, static_cast<ULONG>(maxFrames), frameAddresses.data(), nullptr);
    std::vector<StackFrame> frames;
    for (const void* const address : std::span(frameAddresses).first(count)) {
        if (address == nullptr) {
            break;
        }
        StackFrame frame = resolve(address);
        const bool stop = isModuleEntry(frame);
        if (frames.empty() || frames.back().name != frame.name) {
            frames.push_back(std::move(frame));
        }
        if (stop) {
            break;
        }
    }
    return frames;
}

std::span<const IMAGE_SECTION_HEADER> sectionsOf(const std::byte* module) {
    const auto* const dosHeader = reinterpret_cast<const IMAGE_DOS_HEADER*>(module);
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(module + dosHeader->e_lfanew);
    return {IMAGE_FIRST_SECTION(headers), headers->FileHeader.NumberOfSections};
}

bool contains(const IMAGE_SECTION_HEADER& section, std::size_t offset) {
    const std::size_t size = std::max<std::size_t>(section.Misc.VirtualSize, section.SizeOfRawData);
    return offset >= section.VirtualAddress && offset <= section.VirtualAddress + size;
}

} // namespace

std::string captureCallStack() {
    TextBuffer text;
    for (const StackFrame& frame : captureFrames()) {
        if (!text.empty()) {
            text << ',';
        }
        text << frame.name;
        if (!frame.file.empty()) {
            text << '@' << frame.file << ':' << frame.line;
        }
    }
    return text.str();
}

StackFrame lookUpSymbol(const void* address) {
    constexpr std::size_t symbolBufferSize = 512;
    constexpr ULONG maxNameLength = 424;
    StackFrame frame;
    if (!symbolLookupEnabled) {
        return frame;
    }
    const HANDLE process = GetCurrentProcess();
    const auto target = reinterpret_cast<DWORD64>(address);
    alignas(SYMBOL_INFO) std::array<std::byte, symbolBufferSize> buffer{};
    auto* const symbol = reinterpret_cast<SYMBOL_INFO*>(buffer.data());
    symbol->SizeOfStruct = sizeof(SYMBOL_INFO);
    symbol->MaxNameLen = maxNameLength;
    DWORD64 displacement = 0;
    if (!SymFromAddr(process, target, &displacement, symbol)) {
        return frame;
    }
    frame.name = symbol->Name;
    if (symbol->Address == 0) {
        return frame;
    }
    IMAGEHLP_LINE64 line{};
    line.SizeOfStruct = sizeof line;
    DWORD lineDisplacement = 0;
    if (SymGetLineFromAddr64(process, target, &lineDisplacement, &line)) {
        frame.file = afterLastBackslash(line.FileName);
        frame.line = line.LineNumber;
    } else {
        frame.file.assign(1, '?');
        frame.line = static_cast<std::uint32_t>(displacement);
    }
    return frame;
}

std::string describeModuleAddress(const void* address) {
    constexpr DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    HMODULE module = nullptr;
    if (!GetModuleHandleExA(flags, static_cast<const char*>(address), &module)) {
        debugOutput("GetModuleHandleExA failed. %lx", GetLastError());
        return "Fail1";
    }
    char path[MAX_PATH];
    if (GetModuleFileNameA(module, path, MAX_PATH) == 0) {
        debugOutput("GetModuleFileNameA failed. %lx", GetLastError());
        return "Fail2";
    }
    const auto* const base = reinterpret_cast<const std::byte*>(module);
    const auto offset = static_cast<std::size_t>(static_cast<const std::byte*>(address) - base);
    unsigned number = 0;
    for (const IMAGE_SECTION_HEADER& section : sectionsOf(base)) {
        ++number;
        if (contains(section, offset)) {
            TextBuffer text;
            text << Hex{number} << ':' << Hex{offset - section.VirtualAddress} << '(' << afterLastBackslash(path)
                 << ')';
            return text.str();
        }
    }
    return "Fail3";
}

} // namespace JY
